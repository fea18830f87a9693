#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "reduce/layout.hpp"
#include "reduce/members.hpp"
#include "reduce/row_kernels.hpp"
#include "support/widths.hpp"

namespace tlux::test {
namespace {

using namespace detail;

// Random bytes with runs of extreme values, so that sums reach their limits.
ReducedFrame sourceOf(std::uint32_t format, int width, int height, Random& random) {
  const auto between = [&](int low, int high) { return random.intBetween(low, high); };
  return ReducedFrame(format, width, height, between, [&](std::span<std::uint8_t> bytes) {
    random.noise(bytes);
    for (int run = 0; run < 4; ++run) {
      const int begin = random.intBetween(0, static_cast<int>(bytes.size()) - 1);
      const auto rest = bytes.subspan(begin);
      std::ranges::fill(rest.first(std::min<std::size_t>(3 * width, rest.size())),
                        static_cast<std::uint8_t>(run % 2 * 255));
    }
  });
}

// The member gives the bytes of its formula, writes nothing else and reads nothing outside the
// planes.
void expectFormula(const Member& member, ReducedFrame& frame, const TLUX_CROP_RECT& rect,
                   Random& random) {
  const auto& arrangement = kArrangements[random.bits() % 5];
  gi32PixelArrangement = arrangement.word;
  SCOPED_TRACE(testing::Message() << member.name << " of " << frame.image().width << "x"
                                  << frame.image().height << ": " << rect.left << ", " << rect.top
                                  << " to " << rect.right << ", " << rect.bottom);
  frame.image().format = 0; // not looked at
  Destination destination(formula(member, frame.image(), rect, arrangement),
                          [&](int low, int high) { return random.intBetween(low, high); });
  member.reduce(&frame.image(), &destination.image(), &rect);
  EXPECT_TRUE(destination.holdsExpected());
  gi32PixelArrangement = kArrangements[0].word;
}

// Widths around the columns of a frame that one call of a kernel covers.
std::vector<int> widthsAroundStretches(const Member& member) {
  constexpr int kColumns = 512; // of packed and of widened rows
  if (member.factor == 1) return widthsAround({kColumns});
  const FactorKernels& kernels = rowKernels().of(layoutOf(member.format).sampling, member.factor);
  const auto samples = [](const RowKernel& kernel) {
    return kernel.longestStretch() * kernel.step / kernel.sampleBytes;
  };
  return widthsAround({kColumns, samples(kernels.luma), 2 * samples(kernels.pairs[0]),
                       2 * samples(kernels.halves[0])});
}

TEST(ResampleMembers, EqualTheirFormulasAtTheEndsOfStretches) {
  Random random(26);
  for (const Member& member : kMembers) {
    for (const int width : widthsAroundStretches(member)) {
      ReducedFrame frame = sourceOf(member.format, width, std::max(member.factor, 4), random);
      const int left = random.intBetween(0, 3) == 0 ? random.intBetween(0, 3) : 0;
      expectFormula(member, frame, {left, 0, width - 1, frame.image().height - 1}, random);
      if (HasFailure()) return;
    }
  }
}

// Planes without gaps between their rows may be copied as blocks; nothing after them is touched.
TEST(ResampleMembers, ReducePlanesWithoutGaps) {
  Random random(24);
  for (const int top : {0, 1, 2}) {
    Frame source({64, 40, 0, 0, TLUX_FMT_YCBCR420_P}, random);
    const TLUX_CROP_RECT rect{0, top, 63, 35};
    const auto expected = reference::reduce({TLUX_FMT_YCBCR420_P, source.image(), rect}, 2);
    Frame destination({expected.width, expected.height, 0, 0, TLUX_FMT_YCBCR444_P});
    TLUX_ResampleImage2_YCBCR420_P(source.get(), destination.get(), &rect);
    EXPECT_TRUE(destination.isIntact());
    for (const int plane : {0, 1, 2}) {
      EXPECT_EQ(destination.samples(plane), expected.planes[plane]) << plane << " from " << top;
    }
  }
}

// A uniform area keeps its value under means of four and loses one level under means of nine and
// twelve, down to 0.
TEST(ResampleMembers, UniformAreasLoseOneLevelToTheMultiplier) {
  Random random(22);
  for (const Member& member : kMembers) {
    if (member.format == TLUX_FMT_BAYER && member.factor == 8) continue; // 16-bit samples
    ReducedFrame frame = sourceOf(member.format, 56, 56, random);
    Frame destination({56, 56, 0, 0, TLUX_FMT_YCBCR444_P});
    for (int value = 0; value < 256; ++value) {
      frame.fill(static_cast<std::uint8_t>(value));
      const TLUX_CROP_RECT rect{0, 0, 55, 55};
      member.reduce(&frame.image(), destination.get(), &rect);
      const int expected = member.factor >= 5 ? std::max(value - 1, 0) : value;
      for (const int plane : {0, 1, 2}) {
        ASSERT_EQ(destination.row(plane, 0)[0], expected) << member.name << ", plane " << plane;
      }
    }
  }
}

TEST(ScaleCropImage, TakesNv12ReducedByEightAsNv21) {
  Random random(23);
  ReducedFrame frame = sourceOf(TLUX_FMT_YCBCR420_YPVU, 64, 48, random);
  std::vector<Bytes> outputs;
  for (const std::uint32_t format : {TLUX_FMT_YCBCR420_YPVU, TLUX_FMT_YCBCR420_YPUV}) {
    Frame destination({8, 6, 0, 0, TLUX_FMT_YCBCR444_P});
    frame.image().format = format;
    EXPECT_EQ(TLUX_ScaleCropImage(&frame.image(), destination.get(), nullptr, 8), TLUX_OK);
    outputs.insert(outputs.end(), {destination.bytes(1), destination.bytes(2)});
  }
  EXPECT_EQ(outputs[0], outputs[2]);
  EXPECT_EQ(outputs[1], outputs[3]);
}

// Unsupported calls return the documented code and write nothing.
TEST(ScaleCropImage, LeavesTheDestinationAloneWhereThereIsNothingToDo) {
  constexpr int kLow = std::numeric_limits<int>::min();
  constexpr int kHigh = std::numeric_limits<int>::max();
  Random random(24);
  ReducedFrame frame = sourceOf(TLUX_FMT_YCBCR420_YPVU, 64, 64, random);
  Destination destination(reference::Reduced(0, 0), [](int, int high) { return high; });
  const auto scale = [&](int factor, TLUX_CROP_RECT rect) {
    const auto result = TLUX_ScaleCropImage(&frame.image(), &destination.image(), &rect, factor);
    EXPECT_TRUE(destination.holdsExpected());
    return result;
  };
  const TLUX_CROP_RECT whole{0, 0, 63, 63};
  for (const int factor : {0, -1, kLow}) {
    EXPECT_EQ(scale(factor, whole), TLUX_ERR_INVALID_PARAM);
  }
  for (const int factor : {9, 14, 1 << 30, kHigh}) {
    EXPECT_EQ(scale(factor, whole), TLUX_OK);
  }
  for (const TLUX_CROP_RECT& rect : {TLUX_CROP_RECT{0, 0, 14, 63},
                                     {0, 0, 63, 14},
                                     {9, 9, 8, 40},
                                     {40, 40, 9, 9},
                                     {0, 9, 63, 0},
                                     {kHigh, kHigh, kLow, kLow},
                                     {kLow, kLow, kLow, kLow},
                                     {kHigh, 0, kHigh, kHigh},
                                     {0, kHigh, 63, kHigh},
                                     {kHigh, 5, kLow, 63}}) {
    for (int factor = 1; factor <= 8; ++factor) {
      const bool isEmpty = std::int64_t{rect.right} - rect.left < 2 * factor - 1 ||
                           std::int64_t{rect.bottom} - rect.top < 2 * factor - 1;
      if (!isEmpty) continue;
      EXPECT_EQ(scale(factor, rect), TLUX_OK);
    }
    if (rect.right >= rect.left && rect.bottom >= rect.top) continue;
    for (const Member& member : kMembers)
      if (member.format == TLUX_FMT_YCBCR420_YPVU)
        member.reduce(&frame.image(), &destination.image(), &rect);
    EXPECT_TRUE(destination.holdsExpected());
  }
  // An image that the library makes too narrow for chroma planes.
  TLUX_IMAGE* column = nullptr;
  ASSERT_EQ(TLUX_CreateImage_IMK(&column, 1, 16, TLUX_FMT_YCBCR420_P, nullptr), TLUX_OK);
  for (int factor = 1; factor <= 8; ++factor)
    EXPECT_EQ(TLUX_ScaleCropImage(column, &destination.image(), nullptr, factor), TLUX_OK);
  TLUX_FreeImage_IMK(&column, nullptr);
  for (const std::uint32_t format : {TLUX_FMT_YCBCR444_P, TLUX_FMT_YCBCR440_P,
                                     TLUX_FMT_YCBCR420_P_B, TLUX_FMT_GRAY, TLUX_FMT_CBYCRY, 0u}) {
    frame.image().format = format;
    EXPECT_EQ(scale(2, whole), TLUX_OK);
  }
}

} // namespace
} // namespace tlux::test

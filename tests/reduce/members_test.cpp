#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

#include "reduce/layout.hpp"
#include "reduce/row_kernels.hpp"
#include "reference/resample.hpp"
#include "support/frame.hpp"
#include "support/widths.hpp"

namespace tlux::test {
namespace {

using namespace detail;

struct Member {
  const char* name;
  void (*reduce)(const TLUX_IMAGE*, TLUX_IMAGE*, const TLUX_CROP_RECT*);
  std::uint32_t format;
  int factor;
  bool dispatched;
};

#define DISPATCHED(FUNCTION, LAYOUT, N) {#FUNCTION, FUNCTION, TLUX_FMT_##LAYOUT, N, true},
#define BY_NAME_ONLY(FUNCTION, LAYOUT, N) {#FUNCTION, FUNCTION, TLUX_FMT_##LAYOUT, N, false},
const Member kMembers[] = {
    TLUX_RESAMPLE_DISPATCHED_MEMBERS(DISPATCHED) TLUX_RESAMPLE_FURTHER_MEMBERS(BY_NAME_ONLY)
        BY_NAME_ONLY(ResampleImage_4_3_YCBCR420_P, YCBCR420_P, kFourThirds)};

constexpr struct {
  std::uint32_t word;
  char pattern[5];
} kArrangements[] = {{0x16161616, "BGGR"},
                     {0x49494949, "GBRG"},
                     {0x61616161, "GRBG"},
                     {0x94949494, "RGGB"},
                     {0x94940000, "BGGR"}}; // not known, read as the first

// A frame of random bytes whose planes end exactly with the last sample of their last row. Chroma
// planes have one readable pair before them.
class Source {
 public:
  Source(std::uint32_t format, int width, int height, Random& random)
      : image_{format, width, height, {}, {}} {
    const bool semiPlanar = (format >> 8) == 8;
    for (const auto& [bytes, rows] : extentsOf(format, width, height)) {
      const bool isLuma = buffers_.empty();
      add(semiPlanar && !isLuma ? bytes / 2 * 2 : bytes, rows, isLuma ? 0 : (semiPlanar ? 2 : 1),
          random);
    }
  }
  TLUX_IMAGE& image() { return image_; }
  void fill(std::uint8_t value) {
    for (auto& buffer : buffers_)
      std::ranges::fill(buffer->bytes(), value);
  }

 private:
  void add(int rowBytes, int rows, int before, Random& random) {
    const int pitch = rowBytes + random.intBetween(0, 9);
    const int bytes = before + (rows - 1) * pitch + rowBytes;
    auto& buffer = *buffers_.emplace_back(std::make_unique<GuardedBuffer>(bytes));
    random.noise(buffer.bytes());
    // Runs of extreme values make the sums reach their ends.
    for (int run = 0; run < 4; ++run) {
      const int begin = random.intBetween(0, bytes - 1);
      std::ranges::fill(buffer.bytes().subspan(begin, std::min(pitch * 3, bytes - begin)),
                        static_cast<std::uint8_t>(run % 2 * 255));
    }
    image_.plane[buffers_.size() - 1] = buffer.data() + before;
    image_.pitch[buffers_.size() - 1] = pitch;
  }

  TLUX_IMAGE image_;
  std::vector<std::unique_ptr<GuardedBuffer>> buffers_;
};

// Three planes around which every byte is a guard. A destination wider than the output begins its
// rows that much closer together.
class Destination {
 public:
  Destination(const reference::Reduced& expected, Random& random) : expected_(expected) {
    const int wider = random.intBetween(0, 3);
    image_.format = 0;
    image_.width = expected.width + wider;
    image_.height = -1;
    for (int i = 0; i < 3; ++i) {
      const int rowStep = expected.width + random.intBetween(1, 7);
      planes_[i] = std::make_unique<GuardedPlane>(expected.width, expected.height, rowStep);
      image_.plane[i] = planes_[i]->data();
      image_.pitch[i] = rowStep + wider;
    }
  }
  TLUX_IMAGE& image() { return image_; }

  void check() {
    for (int i = 0; i < 3; ++i) {
      EXPECT_TRUE(planes_[i]->isIntact()) << "plane " << i;
      const auto actual = mapPixels(expected_.width, expected_.height, [&](int x, int y) {
        return planes_[i]->data()[y * planes_[i]->pitch() + x];
      });
      EXPECT_EQ(actual, expected_.planes[i]) << "plane " << i;
    }
  }

 private:
  reference::Reduced expected_;
  TLUX_IMAGE image_{};
  std::unique_ptr<GuardedPlane> planes_[3];
};

reference::Reduced expectedOf(const Member& member, const TLUX_IMAGE& image,
                              const TLUX_CROP_RECT& crop, const char (&pattern)[5]) {
  const reference::Source source{member.format, image, crop};
  if (member.factor == kFourThirds) return reference::reduceByFourThirds(source);
  if (member.factor == 1) return reference::widen(source);
  if (member.format == TLUX_FMT_BAYER && member.factor == 8) {
    return reference::reduceRawByEight(source, pattern);
  }
  return reference::reduce(source, member.factor);
}

// The member gives the bytes of its formula, writes nothing else and reads nothing outside the
// planes.
void expectFormula(const Member& member, Source& frame, const TLUX_CROP_RECT& rect,
                   Random& random) {
  const auto& arrangement = kArrangements[random.bits() % 5];
  gi32PixelArrangement = arrangement.word;
  SCOPED_TRACE(testing::Message() << member.name << " of " << frame.image().width << "x"
                                  << frame.image().height << ": " << rect.left << ", " << rect.top
                                  << " to " << rect.right << ", " << rect.bottom);
  frame.image().format = 0; // not looked at
  Destination destination(expectedOf(member, frame.image(), rect, arrangement.pattern), random);
  member.reduce(&frame.image(), &destination.image(), &rect);
  destination.check();
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
      Source frame(member.format, width, std::max(member.factor, 4), random);
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
    Source frame(member.format, 56, 56, random);
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
  Source frame(TLUX_FMT_YCBCR420_YPVU, 64, 48, random);
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

// What is not handled answers as documented and writes nothing.
TEST(ScaleCropImage, LeavesTheDestinationAloneWhereThereIsNothingToDo) {
  constexpr int kLow = std::numeric_limits<int>::min();
  constexpr int kHigh = std::numeric_limits<int>::max();
  Random random(24);
  Source frame(TLUX_FMT_YCBCR420_YPVU, 64, 64, random);
  Destination destination(reference::Reduced(0, 0), random);
  const auto scale = [&](int factor, TLUX_CROP_RECT rect) {
    const auto result = TLUX_ScaleCropImage(&frame.image(), &destination.image(), &rect, factor);
    destination.check();
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
    destination.check();
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

TEST(ScaleCropImage, RefusesMissingImagesAndPlanes) {
  Random random(25);
  Source frame(TLUX_FMT_YCBCR420_P, 16, 16, random);
  Destination destination(reference::Reduced(0, 0), random);
  const TLUX_CROP_RECT rect{0, 0, 15, 15};
  TLUX_IMAGE* source = &frame.image();
  TLUX_IMAGE* out = &destination.image();
  const auto refuses = [&](TLUX_IMAGE* from, TLUX_IMAGE* to) {
    TLUX_ResampleImage2_YCBCR420_P(from, to, &rect);
    return TLUX_ScaleCropImage(from, to, nullptr, 2) == TLUX_ERR_INVALID_PARAM;
  };
  EXPECT_TRUE(refuses(nullptr, out));
  EXPECT_TRUE(refuses(source, nullptr));
  TLUX_ResampleImage2_YCBCR420_P(source, out, nullptr);
  for (auto* image : {source, out}) {
    for (const int plane : {0, 1, 2}) {
      std::uint8_t* kept = std::exchange(image->plane[plane], nullptr);
      EXPECT_TRUE(refuses(source, out)) << plane;
      image->plane[plane] = kept;
    }
  }
  destination.check();
}

} // namespace
} // namespace tlux::test

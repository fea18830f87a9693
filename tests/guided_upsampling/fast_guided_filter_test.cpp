#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "reference/guided_filter_fast.hpp"
#include "support/guarded_buffer.hpp"
#include "support/pool.hpp"
#include "support/random.hpp"
#include "tlux/fast_guided_filter.h"

namespace tlux::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kHeld = 0x77;

struct Size {
  int width;
  int height;
};

// Low-resolution planes and a full-resolution guide and output, each ending at a protected page
// with its last sample.
struct Frame {
  Frame(Size size, int lowPadding, int fullPadding, Random& random)
      : low(size),
        lowPitch(size.width + lowPadding),
        fullPitch(8 * size.width + fullPadding),
        input(bytes(size.width, size.height, lowPitch)),
        guide(input.size()),
        fullGuide(bytes(8 * size.width, 8 * size.height, fullPitch)),
        fullOut(fullGuide.size(), kHeld) {
    for (GuardedBuffer* plane : {&input, &guide, &fullGuide}) {
      random.fill(plane->bytes());
    }
  }

  static std::size_t bytes(int width, int height, int pitch) {
    return static_cast<std::size_t>((height - 1) * pitch + width);
  }

  std::uint32_t filter(MMemMgr manager, int radius, int eps) {
    return FastGuideFilterMT(manager, input.data(), guide.data(), fullGuide.data(), fullOut.data(),
                             low.width, low.height, lowPitch, fullPitch, radius, eps);
  }

  Bytes expected(int radius, int eps) {
    Bytes out(fullOut.size(), kHeld);
    reference::fastGuidedFilter(input.data(), guide.data(), fullGuide.data(), out.data(), low.width,
                                low.height, lowPitch, fullPitch, fullPitch, radius, eps);
    return out;
  }

  bool outputIs(const Bytes& out) {
    return fullOut.isIntact() && std::equal(out.begin(), out.end(), fullOut.data());
  }

  Size low;
  int lowPitch;
  int fullPitch;
  GuardedBuffer input;
  GuardedBuffer guide;
  GuardedBuffer fullGuide;
  GuardedBuffer fullOut;
};

// Bands higher than twice the radius have rows of both kinds of smoothing.
TEST(FastGuidedFilter, IsTheFormulaOnLargerFrames) {
  Random random(22);
  for (const auto [width, height, radius] : {std::array{66, 50, 3}, {20, 134, 16}, {130, 23, 2}}) {
    Frame frame({width, height}, 0, 0, random);
    const auto expected = frame.expected(radius, 20);
    ASSERT_EQ(frame.filter(nullptr, radius, 20), TLUX_OK);
    ASSERT_TRUE(frame.outputIs(expected)) << width << "x" << height;
    // In place of the guide.
    ASSERT_EQ(
        FastGuideFilterMT(nullptr, frame.input.data(), frame.guide.data(), frame.fullGuide.data(),
                          frame.fullGuide.data(), width, height, width, 8 * width, radius, 20),
        TLUX_OK);
    ASSERT_TRUE(std::ranges::equal(frame.fullGuide.bytes(), expected));
  }
}

// Steep slopes up and down, too steep for 16 bits with eps 1; offsets far below zero and results
// out of range.
TEST(FastGuidedFilter, IsTheFormulaForExtremeContent) {
  Random random(23);
  for (int variant = 0; variant < 8; ++variant) {
    const bool falling = (variant & 1) != 0;
    const int level = (variant & 2) == 0 ? 0 : (falling ? 30 : 250);
    const int eps = (variant & 4) != 0 ? 20 : 1;
    Frame frame({24, 18}, 0, 0, random);
    for (std::size_t i = 0; i < frame.input.size(); ++i) {
      const bool raised = (i % 24 / 3 + i / 72) % 2 != 0;
      frame.guide.data()[i] = static_cast<std::uint8_t>(level + (raised ? 2 : 0));
      frame.input.data()[i] = raised != falling ? 255 : 0;
    }
    const auto slope = reference::guideCoefficients(frame.input.data(), frame.guide.data(), 9, 9,
                                                    24, 18, frame.lowPitch, 2, eps)
                           .a;
    EXPECT_EQ(std::abs(slope) > 32767, eps == 1) << slope;
    ASSERT_EQ(frame.filter(nullptr, 2, eps), TLUX_OK);
    ASSERT_TRUE(frame.outputIs(frame.expected(2, eps))) << variant;
  }
}

// A band whose coefficients have no solution keeps what it held; the others are filtered.
TEST(FastGuidedFilter, UnsolvableBandIsLeftAlone) {
  Random random(27);
  Frame frame({8, 16}, 0, 0, random);
  std::ranges::fill(frame.guide.bytes().subspan(4 * 8, 4 * 8), 50);
  ASSERT_EQ(frame.filter(nullptr, 2, 0), TLUX_OK);
  constexpr std::size_t kBandBytes = std::size_t{4} * 8 * 64;
  for (std::size_t band = 0; band < 4; ++band) {
    const auto held =
        std::ranges::count(frame.fullOut.bytes().subspan(band * kBandBytes, kBandBytes), kHeld);
    EXPECT_EQ(held == std::ssize(frame.fullOut.bytes()) / 4, band == 1) << band;
  }
}

TEST(FastGuidedFilter, LivesInAPoolOfTheDocumentedSize) {
  Random random(29);
  Frame frame({40, 10}, 0, 0, random);
  const auto expected = frame.expected(16, 20);
  expectLivesInPool(4 * (40 * 10 * 4 + 16) + 4 * (320 * 40 + 16) + 64,
                    [&](MMemMgr pool) { return frame.filter(pool, 16, 20); });
  EXPECT_TRUE(frame.outputIs(expected));
}

} // namespace
} // namespace tlux::test

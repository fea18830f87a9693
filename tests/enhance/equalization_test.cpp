#include <gtest/gtest.h>

#include <limits>
#include <numeric>

#include "enhance/adaptive_equalizer.hpp"
#include "enhance/gray_frame.hpp"
#include "tlux/equalization.h"

namespace tlux::test {
namespace {

using namespace detail;

using reference::Levels;

// The rectangle may reach over the sides of the image into memory that the caller has there.
TEST(CalHistogram, DoesNotClip) {
  Bytes block(20 * 10);
  std::iota(block.begin(), block.end(), std::uint8_t{0});
  const TLUX_IMAGE inner{TLUX_FMT_GRAY, 3, 2, {block.data() + 4 * 20 + 8}, {20}};
  const TLUX_RECT rect{-8, -4, 12, 6};
  Levels counts{};
  CalHistogram(&inner, counts.data(), &rect);
  for (std::size_t level = 0; level < 256; ++level) {
    EXPECT_EQ(counts[level], level < 200 ? 1u : 0u);
  }
}

TEST(CalHistogram, TakesBottomUpPlanes) {
  Bytes block = {1, 2, 3, 4, 5, 6};
  TLUX_IMAGE image{TLUX_FMT_GRAY, 2, 3, {block.data() + 4}, {-2}};
  Levels counts{};
  CalHistogram(&image, counts.data(), nullptr);
  EXPECT_EQ(std::accumulate(counts.begin() + 1, counts.begin() + 7, 0u), 6u);
}

TEST(HistogramMap, SaturatesWithoutPixels) {
  Frame image = grayFrame(Bytes(256, 100), 16, 16, 16);
  const int kMax = std::numeric_limits<int>::max();
  for (const TLUX_RECT& rect : {TLUX_RECT{16, 0, 20, 16}, {3, 5, 3, 9}, {0, 16, 16, 17}}) {
    Levels table{};
    table[40] = 2;
    HistogramMap(image.get(), table.data(), &rect);
    EXPECT_EQ(table[39], 0u);
    EXPECT_EQ(table[40], 0x7FFFFFFFu);
    EXPECT_EQ(table[255], 0x7FFFFFFFu);
  }
  // Extreme edges wrap their product, which must not trap.
  Levels table{};
  for (const TLUX_RECT& rect : {TLUX_RECT{kMax, kMax, kMax, kMax},
                                {kMax, 0, -kMax - 1, -kMax},
                                {-kMax - 1, kMax, kMax, -kMax - 1}}) {
    HistogramMap(image.get(), table.data(), &rect);
  }
}

TEST(HistogramEqualization, LeavesTheImageAlone) {
  Random random(3);
  Frame image = grayFrame(randomSamples(33, 9, random), 33, 9, 40);
  const Frame before = image.copy();
  HistogramEqualization(nullptr, image.get());
  HistogramEqualization(nullptr, nullptr);
  TLUX_IMAGE bad = image.image();
  for (const auto& [width, height] : {std::pair{41, 9}, {0, 9}, {33, -9}, {-1, -1}}) {
    bad.width = width;
    bad.height = height;
    HistogramEqualization(nullptr, &bad);
  }
  EXPECT_TRUE(image == before);
}

Plane<std::uint8_t> view(Frame& image) {
  return {image.row(0, 0), image->width, image->height, image->pitch[0]};
}

void expectEqualizedLikeFormula(int width, int height, Random& random) {
  SCOPED_TRACE(testing::Message() << width << "x" << height);
  const Bytes samples = randomSamples(width, height, random);
  const Bytes expected = reference::equalizeTiles(samples, width, height);
  Frame in = grayFrame(samples, width, height, width + height % 3);
  Frame out({width, height, width + height % 3, 0, TLUX_FMT_GRAY});
  ASSERT_EQ(equalizeByTiles(nullptr, view(in), view(out)), Result::kOk);
  ASSERT_EQ(out.samples(0), expected);
  ASSERT_EQ(equalizeByTiles(nullptr, view(in), view(in)), Result::kOk);
  ASSERT_EQ(in.samples(0), expected);
}

TEST(AdaptiveEqualization, EqualsTheFormulaForEveryEdgeTile) {
  Random random(4);
  for (int width = 1; width <= 34; ++width) {
    for (int height = 1; height <= 34; height += width % 3 + 1) {
      expectEqualizedLikeFormula(width, height, random);
    }
  }
  for (const auto& [width, height] :
       {std::pair{160, 120}, {161, 40}, {16, 200}, {200, 16}, {1, 100}, {100, 1}, {330, 250}}) {
    expectEqualizedLikeFormula(width, height, random);
  }
}

} // namespace
} // namespace tlux::test

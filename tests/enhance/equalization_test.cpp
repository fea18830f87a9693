#include <gtest/gtest.h>

#include <limits>
#include <numeric>

#include "enhance/adaptive_equalizer.hpp"
#include "enhance/gray_frame.hpp"
#include "reference/chroma.hpp"
#include "support/null_arguments.hpp"
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

TEST(CalHistogram, TakesBottomUpPlanesAndNulls) {
  Bytes block = {1, 2, 3, 4, 5, 6};
  TLUX_IMAGE image{TLUX_FMT_GRAY, 2, 3, {block.data() + 4}, {-2}};
  Levels counts{};
  CalHistogram(&image, counts.data(), nullptr);
  EXPECT_EQ(std::accumulate(counts.begin() + 1, counts.begin() + 7, 0u), 6u);
  callWithEachNull(CalHistogram, &image, counts.data(), nullptr);
  callWithEachNull(HistogramMap, &image, counts.data(), nullptr);
  image.plane[0] = nullptr;
  CalHistogram(&image, counts.data(), nullptr);
  HistogramMap(&image, counts.data(), nullptr);
  EXPECT_EQ(std::accumulate(counts.begin(), counts.end(), 0u), 6u);
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

TEST(AdaptiveEqualization, WritesLumaPaddingAndChroma) {
  Random random(6);
  for (const auto& [width, height, pitch] :
       {std::tuple{32, 32, 32}, {48, 20, 48}, {36, 18, 40}, {30, 17, 37}, {2, 2, 4}, {18, 1, 20}}) {
    SCOPED_TRACE(testing::Message() << width << "x" << height << " pitch " << pitch);
    Frame source({width, height, pitch}, random);
    Frame output({width, height, pitch}, random);
    const Frame original = source.copy();
    Frame expected = source.copy();
    std::ranges::copy(output.plane(1).bytes(), expected.plane(1).data());
    const Bytes equalized = reference::equalizeTiles(source.samples(0), width, height);
    for (int y = 0; y < height; ++y)
      std::copy_n(equalized.begin() + y * width, width, expected.row(0, y));
    reference::scaleChroma(source.image(), expected.image());

    AdaptiveHistogramEqualization(nullptr, source.get(), output.get());
    EXPECT_TRUE(output == expected);
    EXPECT_TRUE(source == original);

    // In place the old luma is gone when chroma is scaled, so chroma stays.
    AdaptiveHistogramEqualization(nullptr, source.get(), source.get());
    EXPECT_EQ(source.bytes(0), output.bytes(0));
    EXPECT_EQ(source.bytes(1), original.bytes(1));
  }
}

TEST(AdaptiveEqualization, WritesNothingWhenItCannotWork) {
  Random random(7);
  Frame source({32, 20, 40}, random);
  Frame output({32, 20, 40}, random);
  const Frame before = output.copy();
  const auto expectUntouched = [&](const TLUX_IMAGE* in, TLUX_IMAGE* out) {
    AdaptiveHistogramEqualization(nullptr, in, out);
    EXPECT_TRUE(output == before);
  };
  for (const auto& damage :
       {+[](TLUX_IMAGE& i) { i.width = 30; }, +[](TLUX_IMAGE& i) { i.height = 18; },
        +[](TLUX_IMAGE& i) { i.pitch[0] = 36; }, +[](TLUX_IMAGE& i) { i.plane[0] = nullptr; },
        +[](TLUX_IMAGE& i) { i.plane[1] = nullptr; },
        +[](TLUX_IMAGE& i) { i.format = TLUX_FMT_YCBCR420_P; }}) {
    TLUX_IMAGE bad = output.image();
    damage(bad);
    expectUntouched(source.get(), &bad);
    expectUntouched(&bad, output.get());
  }
  callWithEachNull(expectUntouched, source.get(), output.get());
  for (const auto& [width, height, pitch] :
       {std::tuple{41, 20, 40}, {32, 0, 40}, {32, -4, 40}, {-2, 20, 40}, {32, 20, -40}}) {
    TLUX_IMAGE images[] = {source.image(), output.image()};
    for (TLUX_IMAGE& image : images) {
      image.width = width;
      image.height = height;
      image.pitch[0] = pitch;
    }
    expectUntouched(&images[0], &images[1]);
  }
  AdaptiveHistogramEqualization(nullptr, source.get(), output.get());
  EXPECT_FALSE(output == before);
}

} // namespace
} // namespace tlux::test

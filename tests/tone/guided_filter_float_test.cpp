#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/fault_injection.hpp"
#include "support/random.hpp"
#include "tlux/fast_guided_filter.h"
#include "tlux/resample.h"

namespace tlux::test {
namespace {

constexpr std::uint8_t kHeld = 0x77;

struct Frame {
  Frame(int width, int height, int pitch)
      : pixels(static_cast<std::size_t>(pitch) * static_cast<std::size_t>(height + height / 2),
               kHeld),
        image{TLUX_FMT_YCBCR420_YPVU,
              width,
              height,
              {pixels.data(), pixels.data() + std::ptrdiff_t{pitch} * height},
              {pitch, pitch}} {}
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;

  std::vector<std::uint8_t> pixels;
  TLUX_IMAGE image;
};

// Row-major small luma of the part of the source that the filter works on.
std::vector<float> smallLuma(const Frame& source, int width, int height) {
  std::vector<std::uint8_t> planes(static_cast<std::size_t>(3 * width * height));
  TLUX_IMAGE small = {
      TLUX_FMT_YCBCR444_P,
      width,
      height,
      {planes.data(), planes.data() + width * height, planes.data() + 2 * width * height},
      {width, width, width}};
  const TLUX_CROP_RECT part = {0, 0, 8 * width - 1, 8 * height - 1};
  EXPECT_EQ(TLUX_ScaleCropImage(&source.image, &small, &part, 8), TLUX_OK);
  return {planes.begin(), planes.begin() + width * height};
}

float between(float m, float n, int eighths) {
  return m + (n - m) * (static_cast<float>(eighths) / 8);
}

float enlarged(const std::vector<float>& map, int width, int height, int x, int y) {
  const auto column = [&](int u) {
    const auto sample = [&](int v) { return map[static_cast<std::size_t>(v * width + u)]; };
    return between(sample(y / 8), sample(std::min(y / 8 + 1, height - 1)), y % 8);
  };
  return between(column(x / 8), column(std::min(x / 8 + 1, width - 1)), x % 8);
}

TEST(FloatGuidedFilter, IsTheFormulaAndKeepsUncoveredStrips) {
  Random random(61);
  constexpr float kEps = 12.5F;
  constexpr int kRadius = 2;
  for (const auto [width, height] : {std::array{16, 16}, {53, 38}, {64, 96}}) {
    Frame source(width + 2, height + 4, width + 5);
    Frame guide(width, height, width);
    Frame output(width, height, width + 3);
    random.fill(std::span(source.pixels));
    random.fill(std::span(guide.pixels));
    const int lowW = width / 16 * 2;
    const int lowH = height / 16 * 2;
    const std::vector<float> luma = smallLuma(source, lowW, lowH);
    std::vector<float> a(luma.size());
    std::vector<float> b(luma.size());
    ASSERT_EQ(GuideBlock(nullptr, luma.data(), luma.data(), lowH, lowW, lowW, a.data(), b.data(),
                         kRadius, kEps),
              TLUX_OK);
    std::vector<std::uint8_t> expected = output.pixels;
    for (int y = 0; y < 8 * lowH; ++y) {
      for (int x = 0; x < 8 * lowW; ++x) {
        const float value = std::fma(enlarged(a, lowW, lowH, x, y),
                                     static_cast<float>(guide.image.plane[0][y * width + x]),
                                     enlarged(b, lowW, lowH, x, y));
        expected[static_cast<std::size_t>(y * (width + 3) + x)] =
            static_cast<std::uint8_t>(std::clamp(std::trunc(value), 0.0F, 255.0F));
      }
    }
    ASSERT_EQ(FastGuidedFilter(nullptr, &source.image, &guide.image, &output.image, kRadius, kEps),
              TLUX_OK);
    EXPECT_EQ(output.pixels, expected) << width << "x" << height;
  }
}

// A reduction by 8 gives v − 1 for a uniform v.
TEST(FloatGuidedFilter, UniformSourceGivesItsReducedLevel) {
  Frame frame(48, 32, 48);
  ASSERT_EQ(FastGuidedFilter(nullptr, &frame.image, &frame.image, &frame.image, 4, 1.0F), TLUX_OK);
  EXPECT_EQ(std::count(frame.pixels.begin(), frame.pixels.begin() + 48 * 32, kHeld - 1), 48 * 32);
}

TEST(FloatGuidedFilter, AnswersBadArgumentsAndMissingMemory) {
  Frame source(32, 32, 32);
  Frame output(32, 32, 32);
  Frame tiny(15, 40, 16);
  TLUX_IMAGE* dst = &output.image;
  const auto filter = [&](const TLUX_IMAGE* src, const TLUX_IMAGE* guide, int radius, float eps) {
    return FastGuidedFilter(nullptr, src, guide, dst, radius, eps);
  };
  const TLUX_IMAGE* const good = &source.image;
  TLUX_IMAGE gray = source.image;
  gray.format = TLUX_FMT_GRAY;
  EXPECT_EQ(filter(nullptr, good, 2, 1.0F), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(filter(good, nullptr, 2, 1.0F), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(filter(good, &tiny.image, 2, 1.0F), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(filter(&tiny.image, good, 2, 1.0F), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(filter(good, good, 0, 1.0F), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(filter(&gray, good, 2, 1.0F), TLUX_ERR_UNSUPPORTED);
  EXPECT_EQ(filter(good, good, 2, 0.0F), TLUX_GUIDE_UNSOLVABLE);
  EXPECT_EQ(FastGuidedFilter(nullptr, good, good, &tiny.image, 2, 1.0F), TLUX_ERR_INVALID_PARAM);
  Frame tinySource(15, 40, 16);
  EXPECT_EQ(FastGuidedFilter(nullptr, &tinySource.image, &tiny.image, &tiny.image, 2, 1.0F),
            TLUX_OK);
  EXPECT_EQ(std::ranges::count(output.pixels, kHeld), std::ssize(output.pixels));

  const long live = liveAllocations();
  EXPECT_GE(sweepFaults(failAllocation,
                        [&] {
                          const std::uint32_t result = filter(good, good, 2, 1.0F);
                          EXPECT_EQ(result, faultFired() ? TLUX_ERR_NO_MEMORY : TLUX_OK);
                          EXPECT_EQ(liveAllocations(), live);
                        }),
            6);
}

} // namespace
} // namespace tlux::test

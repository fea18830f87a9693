#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/frame.hpp"
#include "tlux/fast_guided_filter.h"
#include "tlux/resample.h"

namespace tlux::test {
namespace {

// Row-major small luma of the part of the source that the filter works on.
std::vector<float> smallLuma(Frame& source, int width, int height) {
  Frame small({width, height, 0, 0, TLUX_FMT_YCBCR444_P});
  const TLUX_CROP_RECT part = {0, 0, 8 * width - 1, 8 * height - 1};
  EXPECT_EQ(TLUX_ScaleCropImage(source.get(), small.get(), &part, 8), TLUX_OK);
  const Bytes luma = small.bytes(0);
  return {luma.begin(), luma.end()};
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
    Frame source({width + 2, height + 4, width + 5}, random);
    Frame guide({width, height}, random);
    Frame output({width, height, width + 3});
    const int lowW = width / 16 * 2;
    const int lowH = height / 16 * 2;
    const std::vector<float> luma = smallLuma(source, lowW, lowH);
    std::vector<float> a(luma.size());
    std::vector<float> b(luma.size());
    ASSERT_EQ(GuideBlock(nullptr, luma.data(), luma.data(), lowH, lowW, lowW, a.data(), b.data(),
                         kRadius, kEps),
              TLUX_OK);
    Frame expected = output.copy();
    forEachPixel(8 * lowW, 8 * lowH, [&](int x, int y) {
      const float value =
          std::fma(enlarged(a, lowW, lowH, x, y), static_cast<float>(guide.row(0, y)[x]),
                   enlarged(b, lowW, lowH, x, y));
      expected.row(0, y)[x] =
          static_cast<std::uint8_t>(std::clamp(std::trunc(value), 0.0F, 255.0F));
    });
    ASSERT_EQ(FastGuidedFilter(nullptr, source.get(), guide.get(), output.get(), kRadius, kEps),
              TLUX_OK);
    EXPECT_TRUE(output == expected) << width << "x" << height;
  }
}

// A reduction by 8 gives v − 1 for a uniform v.
TEST(FloatGuidedFilter, UniformSourceGivesItsReducedLevel) {
  Frame frame({48, 32});
  ASSERT_EQ(FastGuidedFilter(nullptr, frame.get(), frame.get(), frame.get(), 4, 1.0F), TLUX_OK);
  EXPECT_EQ(frame.bytes(0), Bytes(48 * 32, Frame::kBlank - 1));
}

} // namespace
} // namespace tlux::test

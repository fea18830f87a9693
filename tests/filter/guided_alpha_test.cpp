#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "reference/guided_filter.hpp"
#include "support/simple_image.hpp"
#include "tlux/guided_filter.h"

namespace tlux::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Values = std::vector<std::int32_t>;

Values valuesOf(const TestImage& image) {
  const Bytes bytes = image.pixels();
  Values values(bytes.size() / sizeof(std::int32_t));
  std::memcpy(values.data(), bytes.data(), bytes.size());
  return values;
}

// The coefficient images have rows that are not aligned to their samples.
TEST(GuidedAlpha, EqualsTheFormulaAtEveryPixelOrEverySecond) {
  Random random(1);
  for (const auto& [width, height] : {std::pair{1, 1}, {2, 3}, {7, 5}, {18, 11}}) {
    for (const int radius : {0, 1, 4, 30}) {
      SCOPED_TRACE(testing::Message() << width << "x" << height << " radius " << radius);
      const Bytes guide = random.values<std::uint8_t>(width * height);
      const Bytes input = random.values<std::uint8_t>(width * height);
      TestImage I(width, height, 1, guide);
      TestImage p(width, height, 1, input);
      const auto whole = reference::guidedCoefficients(guide, input, {width, height}, radius);

      TestImage a(width, height, 1, 32, 1);
      TestImage b(width, height, 1, 32, 3);
      guided_box_alpha(nullptr, I, p, a, b, radius);
      EXPECT_EQ(valuesOf(a), whole[0]);
      EXPECT_EQ(valuesOf(b), whole[1]);
      EXPECT_TRUE(a.isIntact() && b.isIntact());

      TestImage halfA((width + 1) / 2, (height + 1) / 2, 1, 32);
      TestImage halfB((width + 1) / 2, (height + 1) / 2, 1, 32);
      guided_box_alpha_half(nullptr, I, p, halfA, halfB, radius);
      Values expectedA;
      Values expectedB;
      for (int i = 0; i < width * height; ++i) {
        if (i / width % 2 != 0 || i % width % 2 != 0) continue;
        expectedA.push_back(whole[0][i]);
        expectedB.push_back(whole[1][i]);
      }
      EXPECT_EQ(valuesOf(halfA), expectedA);
      EXPECT_EQ(valuesOf(halfB), expectedB);
    }
  }
}

// The mean of p is truncated to 0 and that of I · p to 1: a covariance of 1 without any variance.
TEST(GuidedAlpha, FlatGuideKeepsTheCovarianceOfTruncatedMeans) {
  TestImage I(2, 1, 1, Bytes{3, 3});
  TestImage p(2, 1, 1, Bytes{1, 0});
  TestImage a(2, 1, 1, 32);
  TestImage b(2, 1, 1, 32);
  guided_box_alpha(nullptr, I, p, a, b, 1);
  EXPECT_EQ(valuesOf(a), (Values{25, 25}));
  EXPECT_EQ(valuesOf(b), (Values{-75, -75}));
}

} // namespace
} // namespace tlux::test

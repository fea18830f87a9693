#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <vector>

#include "reference/selection.hpp"
#include "support/guarded_buffer.hpp"
#include "support/pool.hpp"
#include "support/random.hpp"
#include "tlux/selection.h"

namespace tlux::test {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::int64_t kHuge = std::numeric_limits<std::int64_t>::max();

TEST(SelectionTables, HoldWhatTheyAreDefinedToBe) {
  for (int k = 0; k < 256; ++k) {
    EXPECT_EQ(AME_EV_KERNEL[k], reference::roundedLog2(k)) << k;
  }
  EXPECT_EQ(AME_EV_KERNEL[1], 0.005647);
  EXPECT_EQ(std::accumulate(AME_SELECT_KERNEL, AME_SELECT_KERNEL + 5, std::int64_t{0}), 636);
}

TEST(ConvertExposureValue, KnowsTheOctavesAndItsLimits) {
  const std::pair<double, double> cases[] = {
      {1.0, 0.0},   {2.0, 1.0},       {4.0, 2.0},         {8.0, 3.0},   {16.0, 4.0},   {0.5, -1.0},
      {0.25, -2.0}, {0.0625, -4.0},   {16.0001, 4.0},     {1e300, 4.0}, {0.062, -4.0}, {0.0, -4.0},
      {-3.0, -4.0}, {kInfinity, 4.0}, {-kInfinity, -4.0}, {kNan, 0.0}};
  for (const auto& [ratio, ev] : cases) {
    EXPECT_EQ(AME_ConvertExposureValue(ratio), ev) << ratio;
  }
}

TEST(ConvertExposureValue, FollowsTheTableForAnyRatio) {
  double ratio = 0.06;
  for (int i = 0; i < 60000; ++i) {
    ASSERT_EQ(AME_ConvertExposureValue(ratio), reference::exposureValue(ratio)) << ratio;
    ratio *= 1.0001;
  }
  EXPECT_GT(ratio, 17.0);
}

TEST(CalExposureByMaxvalue, PutsTheBrightEndAtItsTarget) {
  std::vector<std::uint64_t> histogram(4096);
  const auto exposureFor = [&](std::int64_t width, std::int64_t height) {
    double ev = 99;
    EXPECT_EQ(AME_CalExposureByMaxvalue(histogram.data(), &ev, width, height), TLUX_OK);
    return ev;
  };
  const auto expected = [](int bin) {
    const double ev = reference::exposureValue(28665.0 / ((bin + 1) * 8));
    return static_cast<int>(ev * 20 + 0.5) * 0.05;
  };
  EXPECT_EQ(exposureFor(10, 19), expected(4095)); // a limit of no pixels is met at once
  EXPECT_EQ(exposureFor(10, 20), expected(0));    // one that is never met goes to the end
  EXPECT_EQ(expected(0), 4.0);
  for (const int bin : {0, 1, 5, 100, 1000, 2047, 3000, 3582, 3583, 4000, 4095}) {
    std::fill(histogram.begin(), histogram.end(), 0);
    histogram[bin] = 2;
    histogram[4095] += 1;
    EXPECT_EQ(exposureFor(20, 20), expected(bin)) << bin; // the limit is 2
  }
  // -0.19 EV is -3.8 steps: half a step is added before truncating, so three are left.
  EXPECT_EQ(expected(4095), -3 * 0.05);
}

TEST(CalExposureByMaxvalue, TakesAnySize) {
  const std::vector<std::uint64_t> histogram(4096, std::numeric_limits<std::uint64_t>::max() / 2);
  double ev = 99;
  EXPECT_EQ(AME_CalExposureByMaxvalue(histogram.data(), &ev, kHuge, kHuge), TLUX_OK);
  EXPECT_EQ(AME_CalExposureByMaxvalue(histogram.data(), &ev, -5, 1000), TLUX_OK);
  EXPECT_EQ(ev, -3 * 0.05); // a negative limit is met by the first level
}

TEST(CalMinMaxExposure, StartsFromTheEndsOfTheRange) {
  const struct {
    std::vector<double> values;
    double minimum;
    double maximum;
  } cases[] = {{{}, 4, -4},
               {{1.5}, 1.5, 1.5},
               {{-1, 3, 0.5}, -1, 3},
               {{5, 6}, 4, 6},
               {{-7, -5}, -7, -4},
               {{kNan, 2, kNan}, 2, 2},
               {{kInfinity, -kInfinity}, -kInfinity, kInfinity}};
  for (const auto& c : cases) {
    double minimum = 9;
    double maximum = 9;
    const auto count = static_cast<std::int64_t>(c.values.size());
    EXPECT_EQ(AME_CalMinMaxExposure(c.values.data(), count, &minimum, &maximum), TLUX_OK);
    EXPECT_EQ(minimum, c.minimum);
    EXPECT_EQ(maximum, c.maximum);
  }
  double value = 1;
  EXPECT_EQ(AME_CalMinMaxExposure(nullptr, -3, &value, &value), TLUX_OK);
}

TEST(SelectExposure, QuantisesLikeTheFormula) {
  std::vector<double> values;
  for (const int value : Random(1).values<int>(2000, -90000, 90000))
    values.push_back(value / 20000.0);
  const double ranges[][3] = {
      {-4, 0, 4}, {-1.7, 0.35, 2.95}, {0, 0, 3}, {-2, 1, 1}, {-0.01, 0, 0.02}};
  for (const auto& [minimum, middle, maximum] : ranges) {
    for (const int levels : {2, 3, 16, 128, 255, 256}) {
      const int half = levels / 2;
      std::vector<std::uint8_t> indices(values.size());
      std::vector<double> table(2 * half + 2, 77.0);
      ASSERT_EQ(AME_SelectExposure(values.data(), indices.data(), 2000, levels, table.data(),
                                   minimum, middle, maximum),
                TLUX_OK);
      for (std::size_t i = 0; i < values.size(); ++i) {
        ASSERT_EQ(indices[i],
                  reference::selectionIndex(values[i], levels, minimum, middle, maximum))
            << values[i] << " of " << levels;
      }
      for (int k = 0; k < half; ++k) {
        EXPECT_EQ(table[k], middle - (half - k) * (middle - minimum) / half);
        EXPECT_EQ(table[half + 1 + k], middle + (1 + k) * (maximum - middle) / half);
      }
      EXPECT_EQ(table[half], middle);
      EXPECT_EQ(table.back(), 77.0);
    }
  }
}

TEST(SelectExposure, PutsTheMiddleAt127AndItsTableEntryAt128) {
  const double values[] = {-4, 0, 4, 100, -100, kNan};
  std::uint8_t indices[6] = {};
  std::vector<double> table(257);
  AME_SelectExposure(values, indices, 6, 256, table.data(), -4, 0, 4);
  EXPECT_EQ(std::vector<int>(indices, indices + 6), (std::vector<int>{0, 127, 255, 255, 0, 127}));
  EXPECT_EQ(table[0], -4.0);
  EXPECT_EQ(table[128], 0.0);
  EXPECT_EQ(table[256], 4.0);
  // Above 256 levels indices no longer fit a byte; their low byte is stored.
  table.resize(1025);
  AME_SelectExposure(values + 2, indices, 1, 1024, table.data(), -4, 0, 4);
  EXPECT_EQ(indices[0], (127 + 512) & 0xFF);
}

TEST(SelectExposure, SurvivesEveryExtreme) {
  const double extremes[] = {kNan, kInfinity, -kInfinity, 1e300, -1e300, 40000, -40000, 0};
  std::uint8_t indices[8];
  std::vector<double> table(20001);
  for (const double minimum : extremes) {
    for (const double middle : extremes) {
      for (const double maximum : extremes) {
        for (const std::int64_t levels : {std::int64_t{20000}, std::int64_t{2}, std::int64_t{1},
                                          std::int64_t{0}, std::int64_t{-9}, -kHuge - 1}) {
          EXPECT_EQ(AME_SelectExposure(extremes, indices, 8, levels, table.data(), minimum, middle,
                                       maximum),
                    TLUX_OK);
        }
      }
    }
  }
  // No steps: every value is the middle, limited to the only level there is.
  double middle = 0;
  AME_SelectExposure(extremes, indices, 8, 1, &middle, -4, 2, 4);
  EXPECT_EQ(middle, 2.0);
  EXPECT_EQ(indices[1], 0);
  EXPECT_EQ(indices[2], 127);
  EXPECT_EQ(AME_SelectExposure(nullptr, nullptr, 0, 2, table.data(), -1, 0, 1), TLUX_OK);
}

TEST(SmoothSelect, EqualsTheFormulaForAnySizeAndInPlace) {
  Random random(2);
  for (const int width : {1, 2, 3, 4, 5, 6, 7, 16, 33, 100}) {
    for (const int height : {1, 2, 3, 4, 5, 6, 9, 20}) {
      // What the function may take from a pool.
      const Pool pool(static_cast<std::size_t>(width * height * 8 + 40) + 32);
      for (const int low : {0, 250}) {
        const auto size = static_cast<std::size_t>(width * height);
        GuardedBuffer source(size);
        random.fill(source.bytes(), low, 255);
        const std::vector<std::uint8_t> map(source.bytes().begin(), source.bytes().end());
        const auto expected = reference::smoothSelection(map, width, height);
        GuardedBuffer out(size);
        ASSERT_EQ(AME_SmoothSelect(pool, source.data(), out.data(), width, height), TLUX_OK);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), out.data()));
        ASSERT_EQ(AME_SmoothMidSelect(nullptr, source.data(), source.data(), width, height),
                  TLUX_OK);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), source.data()));
        EXPECT_TRUE(source.isIntact() && out.isIntact());
      }
    }
  }
}

TEST(SmoothSelect, ReportsWhatItCannotDo) {
  std::vector<std::uint8_t> map(64, 5);
  std::vector<std::uint8_t> out(64, 9);
  const Pool pool(512);
  for (const std::int64_t width : {std::int64_t{200}, std::int64_t{1} << 31, kHuge / 4, kHuge}) {
    EXPECT_EQ(AME_SmoothSelect(pool, map.data(), out.data(), width, 1), TLUX_ERR_NO_MEMORY);
  }
}

TEST(MyCompare, SortsAscending) {
  std::uint32_t values[] = {70, 3, 2000000000, 0, 69, 70};
  std::qsort(values, 6, sizeof values[0], &myCompare);
  EXPECT_TRUE(std::is_sorted(values, values + 6));
  const std::uint32_t zero = 0;
  const std::uint32_t large = 0xFFFFFFFF;
  EXPECT_EQ(myCompare(&zero, &large), 1); // the difference wraps
}

} // namespace
} // namespace tlux::test

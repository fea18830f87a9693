#include <gtest/gtest.h>

#include <vector>

#include "guided_upsampling/block_mean.hpp"
#include "guided_upsampling/window_sums.hpp"
#include "reference/guided_filter_fast.hpp"
#include "support/frame.hpp"
#include "tlux/fast_guided_filter.h"

namespace tlux::test {
namespace {

using namespace detail;

constexpr std::int32_t kUntouched = 0x5A5A5A5A;

// Noise, a uniform plane, an edge, and one nearly flat near white.
constexpr int kContents = 4;

void fillWith(int content, std::span<std::uint8_t> bytes, Random& random) {
  const auto level = static_cast<int>(random.bits() & 255);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const int values[kContents] = {static_cast<int>(random.bits() & 255), level,
                                   i * 3 < bytes.size() ? 0 : 255, static_cast<int>(251 + i % 5)};
    bytes[i] = static_cast<std::uint8_t>(values[content]);
  }
}

TEST(GuideBlock, IntegerFormIsTheFormula) {
  Random random(1);
  for (const auto [width, height, padding] :
       {std::array{1, 1, 0}, {2, 5, 3}, {7, 4, 0}, {33, 9, 5}, {20, 21, 1}}) {
    for (const int radius : {1, 2, 5, 16, 40}) {
      for (int content = 0; content < kContents; ++content) {
        const int pitch = width + padding;
        // The last row ends with the last sample.
        const auto bytes = static_cast<std::size_t>((height - 1) * pitch + width);
        GuardedBuffer input(bytes);
        GuardedBuffer guide(bytes);
        fillWith(0, input.bytes(), random);
        fillWith(content, guide.bytes(), random);
        const int eps = random.intBetween(1, 40);
        const int first = random.intBetween(0, height - 1);
        const int rows = random.intBetween(1, height);
        std::vector<std::int32_t> a(width * height, kUntouched);
        std::vector<std::int32_t> b = a;
        ASSERT_EQ(GuideBlockIntMT(nullptr, first, rows, input.data(), guide.data(), height, width,
                                  pitch, a.data(), b.data(), radius, eps),
                  TLUX_OK);
        for (int i = 0; i < width * height; ++i) {
          const bool written = i / width >= first && i / width < first + rows;
          const auto expected = reference::guideCoefficients(
              input.data(), guide.data(), i % width, i / width, width, height, pitch, radius, eps);
          ASSERT_EQ(a[i], written ? expected.a : kUntouched) << i << " radius " << radius;
          ASSERT_EQ(b[i], written ? expected.b : kUntouched) << i << " radius " << radius;
        }
      }
    }
  }
}

// Everything before the first window without a solution is written, nothing after it.
TEST(GuideBlock, IntegerFormStopsAtTheFirstZeroDenominator) {
  constexpr int kSize = 12;
  constexpr int kRadius = 2;
  std::vector<std::uint8_t> guide(kSize * kSize);
  for (int i = 0; i < kSize * kSize; ++i) {
    const bool flat = i / kSize >= 3 && i % kSize >= 5;
    guide[i] = static_cast<std::uint8_t>(flat ? 70 : 255 * (i % 2));
  }
  std::vector<std::int32_t> a(kSize * kSize, kUntouched);
  std::vector<std::int32_t> b = a;
  EXPECT_EQ(GuideBlockIntMT(nullptr, 0, kSize, guide.data(), guide.data(), kSize, kSize, kSize,
                            a.data(), b.data(), kRadius, 0),
            TLUX_GUIDE_UNSOLVABLE);
  bool stopped = false;
  for (int i = 0; i < kSize * kSize; ++i) {
    const auto expected = reference::guideCoefficients(guide.data(), guide.data(), i % kSize,
                                                       i / kSize, kSize, kSize, kSize, kRadius, 0);
    stopped = stopped || !expected.solvable;
    EXPECT_EQ(a[i], stopped ? kUntouched : expected.a) << i;
    EXPECT_EQ(b[i], stopped ? kUntouched : expected.b) << i;
  }
  EXPECT_NE(a[4 * kSize], kUntouched);
}

TEST(GuideBlock, SurvivesSumsThatLeaveThirtyTwoBits) {
  std::vector<std::uint8_t> white(64, 255);
  std::vector<std::int32_t> a(64);
  std::vector<std::int32_t> b(64);
  for (const int radius : {90, 91, 300, 23170}) {
    const auto result = GuideBlockIntMT(nullptr, 0, 1, white.data(), white.data(), 1, 64, 64,
                                        a.data(), b.data(), radius, 20);
    EXPECT_TRUE(result == TLUX_OK || result == TLUX_GUIDE_UNSOLVABLE);
    if (radius == 90) {
      EXPECT_EQ(result, TLUX_OK);
      EXPECT_EQ(b[5], 255 * 1024);
    }
  }
}

TEST(TruncatedMean, IsTheTruncatedQuotient) {
  Random random(9);
  std::vector<int> counts = {4, 1024, 32400, windowArea(kMaxWindowRadius)};
  for (int i = 0; i < 50; ++i) {
    counts.push_back(windowArea(random.intBetween(1, kMaxWindowRadius)));
  }
  for (const int count : counts) {
    const TruncatedMean mean(count);
    for (int i = 0; i < 400; ++i) {
      const std::int64_t multiple = random.between(-INT32_MAX / count, INT32_MAX / count) * count;
      for (const std::int64_t sum : {multiple - 1, multiple, multiple + 1,
                                     std::int64_t{static_cast<std::int32_t>(random.bits())}}) {
        const auto value =
            static_cast<std::int32_t>(std::clamp<std::int64_t>(sum, INT32_MIN, INT32_MAX));
        ASSERT_EQ(mean(value), value / count) << value << " / " << count;
      }
    }
  }
}

// A worker of the filter writes the rows of its band alone, also of one shorter than the radius.
TEST(BlockMean, ABandOfAWorkerKeepsToItsRows) {
  constexpr int kWidth = 5;
  constexpr int kHeight = 14;
  constexpr int kFirst = 4;
  const auto map = Random(5).values<std::int32_t>(kWidth * kHeight, -1 << 20, 1 << 20);
  const Plane<const std::int32_t> source{map.data(), kWidth, kHeight, 4 * kWidth};
  for (int rows = 1; rows <= kHeight - kFirst; ++rows) {
    for (int radius = 1; radius <= 7; ++radius) {
      std::vector<std::int32_t> smooth(map.size(), kUntouched);
      const SmoothedBand band{kFirst, rows, {kFirst, kFirst + rows}};
      ASSERT_EQ(smoothBand(nullptr, band, source, smooth.data(), radius), Result::kOk);
      forEachPixel(kWidth, kHeight, [&](int x, int y) {
        const bool isOwn = y >= kFirst && y < kFirst + rows;
        ASSERT_EQ(smooth[y * kWidth + x],
                  isOwn ? reference::smoothedInBand(map.data(), x, y, kWidth, kHeight, kWidth,
                                                    kFirst, rows, radius)
                        : kUntouched)
            << rows << " rows, radius " << radius;
      });
    }
  }
}

TEST(BlockMean, FloatFormsMatchDirectSums) {
  constexpr int kWidth = 17;
  constexpr int kHeight = 11;
  constexpr int kStride = 19;
  constexpr float kEps = 0.5F;
  Random random(4);
  std::vector<float> input(kStride * kHeight);
  std::vector<float> guide(input.size());
  for (std::size_t i = 0; i < input.size(); ++i) {
    input[i] = static_cast<float>(random.intBetween(0, 25500)) / 100;
    guide[i] = static_cast<float>(random.intBetween(0, 25500)) / 100;
  }
  std::vector<float> mean(kWidth * kHeight);
  std::vector<float> variance(mean.size());
  std::vector<float> a(mean.size());
  std::vector<float> b(mean.size());
  for (const int radius : {1, 4, 16}) {
    ASSERT_EQ(BlockMeanVar(nullptr, guide.data(), kHeight, kWidth, kStride, mean.data(),
                           variance.data(), radius),
              TLUX_OK);
    ASSERT_EQ(GuideBlock(nullptr, input.data(), guide.data(), kHeight, kWidth, kStride, a.data(),
                         b.data(), radius, kEps),
              TLUX_OK);
    forEachPixel(kWidth, kHeight, [&](int x, int y) {
      double sums[4] = {};
      reference::forEachIn(x - radius, y - radius, x + radius, y + radius, [&](int u, int v) {
        const int at = std::clamp(v, 0, kHeight - 1) * kStride + std::clamp(u, 0, kWidth - 1);
        const double i = static_cast<double>(guide[at]);
        const double p = static_cast<double>(input[at]);
        const double terms[] = {i, p, i * i, i * p};
        for (int k = 0; k < 4; ++k)
          sums[k] += terms[k] / (4.0 * radius * radius);
      });
      const double var = sums[2] - sums[0] * sums[0];
      const double slope = (sums[3] - sums[0] * sums[1]) / (var + static_cast<double>(kEps));
      const int at = y * kWidth + x;
      EXPECT_NEAR(mean[at], sums[0], 1e-4);
      EXPECT_NEAR(variance[at], var, 1e-3);
      EXPECT_NEAR(a[at], slope, 1e-5);
      EXPECT_NEAR(b[at], sums[1] - slope * sums[0], 1e-3);
    });
  }
}

TEST(BlockMean, FloatFormsOfAConstantPlane) {
  std::vector<float> flat(64, 0.1F);
  std::vector<float> first(64);
  std::vector<float> second(64);
  EXPECT_EQ(BlockMeanVar(nullptr, flat.data(), 8, 8, 8, first.data(), second.data(), 3), TLUX_OK);
  EXPECT_EQ(first, flat);
  EXPECT_GE(*std::min_element(second.begin(), second.end()), 0.0F);
  const std::vector<float> zero(64, 0.0F);
  EXPECT_EQ(
      GuideBlock(nullptr, flat.data(), zero.data(), 8, 8, 8, first.data(), second.data(), 3, 0.0F),
      TLUX_GUIDE_UNSOLVABLE);
}

TEST(UpsampleLine, DeliversTheLinesOfABandInOrder) {
  Random random(5);
  for (const auto [width, rows] : {std::array{1, 1}, {1, 3}, {2, 2}, {9, 4}, {37, 3}}) {
    const auto map = random.values<std::int32_t>(width * rows, -(1 << 27), 1 << 27);
    const int fullWidth = 8 * width;
    GuardedBuffer memory(static_cast<std::size_t>(3 * fullWidth) * sizeof(std::int32_t));
    auto* lines = reinterpret_cast<std::int32_t*>(memory.data());
    for (int k = 0; k < 8 * rows; ++k) {
      // Only lines 0, 1, 9, 17, … may read the low row.
      const int row = k % 8 == 0 ? k / 8 : std::min(k / 8 + 1, rows - 1);
      const std::int32_t unreadable = 0;
      const bool isRead = k == 0 || k % 8 == 1;
      UPSampleLine8Int(k, fullWidth, isRead ? &map[row * width] : &unreadable, lines);
      for (int x = 0; x < fullWidth; ++x) {
        ASSERT_EQ(lines[x], reference::enlarged(map.data(), width, rows - 1, x, k))
            << x << "," << k << " width " << width;
      }
    }
    EXPECT_TRUE(memory.isIntact());
  }
}

} // namespace
} // namespace tlux::test

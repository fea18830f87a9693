#include "tlux/detail.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "reference/guided_filter.hpp"
#include "support/random.hpp"
#include "support/simple_image.hpp"
#include "tlux/fast_guided_filter.h"
#include "tlux/platform.h"
#include "tlux/smoothing.h"
#include "tlux/transfer.h"

namespace tlux::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
constexpr int kHuge = std::numeric_limits<int>::max();

std::uint32_t lee(const img& in, const img& out, int radius, int gain, MMemMgr manager = nullptr) {
  return LeeFilterEnhancement(manager, in.data, in.stride, out.data, out.stride, in.width,
                              in.height, radius, gain);
}

std::uint32_t enhance(const img& in, const img& out, int radius, int deviation, int gain,
                      MMemMgr manager = nullptr) {
  return ImgEnhancement(manager, in.data, in.stride, out.data, out.stride, in.width, in.height,
                        radius, deviation, gain);
}

std::uint32_t residual(const img& in, const img& out, int radius, int eps, int threshold, int gain,
                       MMemMgr manager = nullptr) {
  return ResFilter(manager, in.data, in.stride, out.data, out.stride, in.width, in.height, radius,
                   eps, threshold, gain);
}

std::uint32_t baseDetail(const img& in, const img& out, int radius, float eps, float contrast,
                         MMemMgr manager = nullptr) {
  return BaseDetail(manager, in.data, in.stride, out.data, out.stride, in.width, in.height, radius,
                    eps, contrast);
}

// The rounded result of a real number, which double arithmetic may take to either side of a half.
void expectRounded(std::uint8_t actual, long double real, std::size_t pixel) {
  ASSERT_LE(std::abs(actual - std::clamp(real, 0.0L, 255.0L)), 0.5L + 1e-9L) << "pixel " << pixel;
}

// Compares both contrast functions with their formulas, in place and not.
TEST(LocalContrast, EqualsTheFormulas) {
  Random random(1);
  for (const auto& [width, height] : {std::pair{1, 1}, {6, 1}, {1, 9}, {5, 4}, {130, 14}}) {
    for (const int radius : {0, 1, 3, 15, kHuge}) {
      for (const auto& [low, high] : {std::pair{0, 255}, {100, 130}, {77, 77}}) {
        const Bytes input = random.values<std::uint8_t>(width * height, low, high);
        TestImage x(width, height, 1, input, 1);
        for (const auto& [gain, deviation] : {std::pair{0, 0},
                                              {1024, 0},
                                              {16384, 0},
                                              {600, 0},
                                              {1024, 30},
                                              {3000, 30},
                                              {16384, 1},
                                              {16384, 127}}) {
          SCOPED_TRACE(testing::Message() << width << "x" << height << " r " << radius << " low "
                                          << low << " gain " << gain << " to " << deviation);
          const auto run = [&x, radius, q10 = gain, wanted = deviation](const img& out) {
            return wanted == 0 ? lee(x.record, out, radius, q10)
                               : enhance(x.record, out, radius, wanted, q10);
          };
          TestImage out(width, height, 1, 8, 4);
          ASSERT_EQ(run(out.record), TLUX_OK);
          ASSERT_TRUE(out.isIntact());
          const Bytes actual = out.pixels();
          for (std::size_t i = 0; i < input.size(); ++i) {
            std::int64_t sum = 0;
            std::int64_t squares = 0;
            const std::int64_t n = reference::forWindow(
                {width, height}, static_cast<int>(i) % width, static_cast<int>(i) / width,
                std::min(radius, 200), [&](std::size_t j) {
                  sum += input[j];
                  squares += input[j] * input[j];
                });
            const auto count = static_cast<long double>(n);
            const auto mean = static_cast<long double>(sum) / count;
            long double factor = gain / 1024.0L;
            if (deviation != 0) {
              const auto spread = static_cast<long double>(n * squares - sum * sum);
              const long double sigma = std::sqrt(spread) / count;
              factor = sigma > 0 ? std::clamp(deviation / sigma, 1.0L, factor) : factor;
            }
            expectRounded(actual[i], mean + factor * (input[i] - mean), i);
          }
          if (gain == 1024) {
            EXPECT_EQ(actual, input);
          }
          ASSERT_EQ(run(x.record), TLUX_OK); // in place
          ASSERT_EQ(x.pixels(), actual);
          ASSERT_TRUE(x.isIntact());
          x.setPixels(input);
        }
      }
    }
  }
}

TEST(ResFilter, PutsTheCoredResidualBack) {
  Random random(2);
  constexpr int kWidth = 150;
  constexpr int kHeight = 13;
  const Bytes input = random.values<std::uint8_t>(kWidth * kHeight);
  TestImage x(kWidth, kHeight, 1, input, 3);
  TestImage smoothed(kWidth, kHeight, 1, 8);
  ASSERT_EQ(
      TLUX_GuidedFilter1D(nullptr, x.record.data, x.record.stride, x.record.data, x.record.stride,
                          smoothed.record.data, kWidth, kWidth, kHeight, 4, 900),
      TLUX_OK);
  const Bytes base = smoothed.pixels();
  for (const int threshold : {0, 1, 20, 255}) {
    for (const int gain : {0, 700, 1024, 16384}) {
      TestImage out(kWidth, kHeight, 1, 8, 2);
      ASSERT_EQ(residual(x.record, out.record, 4, 900, threshold, gain), TLUX_OK);
      ASSERT_TRUE(out.isIntact());
      const Bytes actual = out.pixels();
      for (std::size_t i = 0; i < input.size(); ++i) {
        const int d = input[i] - base[i];
        const double change =
            std::floor(std::max(std::abs(d) - threshold, 0) * gain / 1024.0 + 0.5);
        ASSERT_EQ(actual[i], std::clamp(base[i] + (d < 0 ? -change : change), 0.0, 255.0));
      }
      if (threshold == 0 && gain == 1024) {
        EXPECT_EQ(actual, input);
      }
      if (threshold == 255 || gain == 0) {
        EXPECT_EQ(actual, base);
      }
      TestImage inPlace(kWidth, kHeight, 1, input);
      ASSERT_EQ(residual(inPlace.record, inPlace.record, 4, 900, threshold, gain), TLUX_OK);
      EXPECT_EQ(inPlace.pixels(), actual);
    }
  }
}

// Two halves of different brightness, with the same texture in linear light.
Bytes twoHalves(int width, int height) {
  Bytes bytes;
  for (int i = 0; i < width * height; ++i) {
    const double level = i % width < width / 2 ? 20.0 : 3000.0;
    const double linear = level * ((i + i / width) % 2 == 0 ? 1.25 : 0.8);
    bytes.push_back(TLUX_Gamma_Table8[static_cast<int>(linear)]);
  }
  return bytes;
}

double lightOf(std::uint8_t code) {
  return std::log10((TLUX_Degamma_Table[code] + 1) / 4096.0);
}

TEST(BaseDetail, CompressesTheBaseAndKeepsTheDetail) {
  constexpr int kWidth = 64;
  constexpr int kHeight = 20;
  const Bytes input = twoHalves(kWidth, kHeight);
  TestImage x(kWidth, kHeight, 1, input, 5);
  TestImage out(kWidth, kHeight, 1, 8, 3);
  testing::internal::CaptureStdout();
  ASSERT_EQ(baseDetail(x.record, out.record, 3, 0.05f, 10.f), TLUX_OK);
  std::fflush(stdout);
  const std::string printed = testing::internal::GetCapturedStdout();
  double most = 0;
  double least = 0;
  double scale = 0;
  ASSERT_EQ(std::sscanf(printed.c_str(), "maxBaseLayer = %lf, minBaseLayer = %lfScaleFactor= %lf\n",
                        &most, &least, &scale),
            3)
      << printed;
  char again[120];
  std::snprintf(again, sizeof again, "maxBaseLayer = %f, minBaseLayer = %fScaleFactor= %f\n", most,
                least, scale);
  EXPECT_EQ(printed, again);
  EXPECT_NEAR(scale, 1 / (most - least), 1e-5);

  ASSERT_TRUE(out.isIntact());
  const Bytes actual = out.pixels();
  const auto light = [&](const Bytes& bytes, int x0, int dx) {
    const auto at = static_cast<std::size_t>(10 * kWidth + x0 + dx);
    return lightOf(bytes[at]);
  };
  // Away from the edge: texture as before, the bright half too, the dark one lifted by what the
  // base lost.
  for (const int column : {12, 50}) {
    EXPECT_NEAR(light(actual, column, 0) - light(actual, column, 1),
                light(input, column, 0) - light(input, column, 1), 0.03);
  }
  EXPECT_NEAR(light(actual, 50, 0), light(input, 50, 0), 0.02);
  const double distance = light(input, 50, 0) - light(input, 12, 0);
  EXPECT_NEAR(light(actual, 50, 0) - light(actual, 12, 0), scale * distance, 0.08);

  TestImage inPlace(kWidth, kHeight, 1, input);
  ASSERT_EQ(baseDetail(inPlace.record, inPlace.record, 3, 0.05f, 10.f), TLUX_OK);
  EXPECT_EQ(inPlace.pixels(), actual);
}

// Against the public functions that the split is documented to be made of.
TEST(BaseDetail, EqualsTheFormula) {
  Random random(3);
  for (const auto& [width, height, radius] :
       {std::tuple{1, 1, 1}, {2, 3, 4}, {40, 17, 2}, {33, 9, 200}}) {
    const Bytes input = random.values<std::uint8_t>(width * height);
    const std::size_t count = input.size();
    std::vector<float> light(count);
    std::transform(input.begin(), input.end(), light.begin(),
                   [](std::uint8_t code) { return static_cast<float>(lightOf(code)); });
    std::vector<float> a(count), b(count), meanA(count), meanB(count), unused(count);
    ASSERT_EQ(GuideBlock(nullptr, light.data(), light.data(), height, width, width, a.data(),
                         b.data(), radius, 0.05f),
              TLUX_OK);
    BlockMeanVar(nullptr, a.data(), height, width, width, meanA.data(), unused.data(), radius);
    BlockMeanVar(nullptr, b.data(), height, width, width, meanB.data(), unused.data(), radius);
    std::vector<double> base(count);
    for (std::size_t i = 0; i < count; ++i) {
      base[i] = static_cast<double>(meanA[i]) * static_cast<double>(light[i]) +
                static_cast<double>(meanB[i]);
    }
    const auto [least, most] = std::minmax_element(base.begin(), base.end());
    const double scale = *most > *least ? std::min(std::log10(5.0) / (*most - *least), 1.0) : 1.0;
    TestImage x(width, height, 1, input, 1);
    TestImage out(width, height, 1, 8, 2);
    ASSERT_EQ(baseDetail(x.record, out.record, radius, 0.05f, 5.f), TLUX_OK);
    ASSERT_TRUE(out.isIntact());
    const Bytes actual = out.pixels();
    for (std::size_t i = 0; i < count; ++i) {
      const double wanted =
          *most + scale * (base[i] - *most) + static_cast<double>(light[i]) - base[i];
      const double linear = std::clamp(4096 * std::pow(10.0, wanted) - 1, 0.0, 4095.0);
      ASSERT_NEAR(actual[i], TLUX_Gamma_Table8[std::lround(linear)], 1);
    }
  }
}

TEST(BaseDetail, LeavesWhatHasNoMoreThanTheContrastUnchanged) {
  Bytes codes(256);
  std::iota(codes.begin(), codes.end(), std::uint8_t{0});
  TestImage x(16, 16, 1, codes);
  TestImage out(16, 16, 1, 8);
  ASSERT_EQ(baseDetail(x.record, out.record, 2, 0.01f, 1e5f), TLUX_OK);
  EXPECT_EQ(out.pixels(), codes);
  const Bytes uniform(256, 31);
  x.setPixels(uniform);
  ASSERT_EQ(baseDetail(x.record, out.record, 2, 0.01f, 1.5f), TLUX_OK);
  EXPECT_EQ(out.pixels(), uniform);
}

TEST(ColorMap, RisesInLightnessUpToTheRoundingOfItsColours) {
  Bytes levels(256);
  std::iota(levels.begin(), levels.end(), std::uint8_t{0});
  TestImage x(32, 8, 1, levels, 1);
  TestImage out(32, 8, 3, 8, 2);
  ASSERT_EQ(ColorMap(x.record.data, x.record.stride, out.record.data, out.record.stride, 32, 8),
            TLUX_OK);
  ASSERT_TRUE(out.isIntact());
  const Bytes colours = out.pixels();
  EXPECT_EQ(Bytes(colours.begin(), colours.begin() + 3), (Bytes{0x54, 0x01, 0x44}));
  EXPECT_EQ(Bytes(colours.end() - 3, colours.end()), (Bytes{0x25, 0xE7, 0xFD}));
  // A point of the map that is a level itself: 85 = 3 / 9 of the way.
  EXPECT_EQ(Bytes(colours.begin() + 255, colours.begin() + 258), (Bytes{0x8E, 0x68, 0x31}));
  double last = -1;
  for (std::size_t i = 0; i < colours.size(); i += 3) {
    const double luma = 0.0722 * TLUX_Degamma_Table[colours[i]] +
                        0.7152 * TLUX_Degamma_Table[colours[i + 1]] +
                        0.2126 * TLUX_Degamma_Table[colours[i + 2]];
    EXPECT_GT(luma, last - 4) << i / 3; // of 4095
    last = luma;
  }
}

struct Call {
  const char* name;
  std::uint32_t (*run)(MMemMgr manager, const img& in, const img& out);
};

const Call kCalls[] = {
    {"LeeFilterEnhancement",
     [](MMemMgr m, const img& in, const img& out) { return lee(in, out, 2, 2000, m); }},
    {"ImgEnhancement",
     [](MMemMgr m, const img& in, const img& out) { return enhance(in, out, 2, 50, 9000, m); }},
    {"ResFilter",
     [](MMemMgr m, const img& in, const img& out) { return residual(in, out, 2, 90, 3, 2000, m); }},
    {"BaseDetail",
     [](MMemMgr m, const img& in, const img& out) { return baseDetail(in, out, 2, 0.1f, 2.f, m); }},
};

TEST(Detail, RejectsBadArgumentsAndLeavesEmptyPlanesAlone) {
  TestImage in(6, 5, 1, Bytes(30, 9));
  TestImage out(6, 5, 1, Bytes(30, 7));
  const auto colour = [](MMemMgr, const img& from, const img& to) {
    return ColorMap(from.data, from.stride, to.data, 3 * to.stride, from.width, from.height);
  };
  std::vector<Call> calls(std::begin(kCalls), std::end(kCalls));
  calls.push_back({"ColorMap", colour});
  for (const Call& call : calls) {
    SCOPED_TRACE(call.name);
    const auto with = [&](TestImage& image, auto img::*field, auto value) {
      const img original = image.record;
      image.record.*field = value;
      const auto result = call.run(nullptr, in.record, out.record);
      image.record = original;
      return result;
    };
    for (TestImage* image : {&in, &out}) {
      EXPECT_EQ(with(*image, &img::data, nullptr), TLUX_ERR_INVALID_PARAM);
      EXPECT_EQ(with(*image, &img::stride, 5), TLUX_ERR_INVALID_PARAM);
      EXPECT_EQ(with(*image, &img::stride, -6), TLUX_ERR_INVALID_PARAM);
    }
    EXPECT_EQ(with(in, &img::height, 0), TLUX_OK);
    EXPECT_EQ(with(in, &img::width, -1), TLUX_OK);
    EXPECT_EQ(with(in, &img::width, 7), TLUX_ERR_INVALID_PARAM);
  }
  const img& x = in.record;
  const img& q = out.record;
  const float kNan = std::numeric_limits<float>::quiet_NaN();
  for (const auto result : {lee(x, q, -1, 1024),
                            lee(x, q, 1, -1),
                            lee(x, q, 1, 16385),
                            enhance(x, q, -1, 10, 2000),
                            enhance(x, q, 1, 0, 2000),
                            enhance(x, q, 1, 128, 2000),
                            enhance(x, q, 1, 10, 1023),
                            enhance(x, q, 1, 10, 16385),
                            residual(x, q, -1, 10, 0, 1024),
                            residual(x, q, 1, 0, 0, 1024),
                            residual(x, q, 1, 10, -1, 1024),
                            residual(x, q, 1, 10, 256, 1024),
                            residual(x, q, 1, 10, 0, -1),
                            residual(x, q, 1, 10, 0, 16385),
                            baseDetail(x, q, 0, 0.1f, 5),
                            baseDetail(x, q, 23171, 0.1f, 5),
                            baseDetail(x, q, 1, 0, 5),
                            baseDetail(x, q, 1, kNan, 5),
                            baseDetail(x, q, 1, 0.1f, 1),
                            baseDetail(x, q, 1, 0.1f, kNan)}) {
    EXPECT_EQ(result, TLUX_ERR_INVALID_PARAM);
  }
  EXPECT_EQ(out.pixels(), Bytes(30, 7));
}

} // namespace
} // namespace tlux::test

#include "tlux/detail.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <numeric>

#include "reference/guided_filter.hpp"
#include "support/simple_image.hpp"
#include "tlux/fast_guided_filter.h"
#include "tlux/smoothing.h"
#include "tlux/transfer.h"

namespace tlux::test {
namespace {

using Bytes = TestImage::Bytes;

// The members of the family with all but their planes settled.
using Call = std::function<std::uint32_t(const img& in, const img& out)>;

Call lee(int radius, int gain) {
  return [=](const img& in, const img& out) {
    return onPlanes(LeeFilterEnhancement, in, out, radius, gain);
  };
}

Call enhance(int radius, int deviation, int gain) {
  return [=](const img& in, const img& out) {
    return onPlanes(ImgEnhancement, in, out, radius, deviation, gain);
  };
}

Call residual(int radius, int eps, int threshold, int gain) {
  return [=](const img& in, const img& out) {
    return onPlanes(ResFilter, in, out, radius, eps, threshold, gain);
  };
}

Call baseDetail(int radius, float eps, float contrast) {
  return [=](const img& in, const img& out) {
    return onPlanes(BaseDetail, in, out, radius, eps, contrast);
  };
}

// The pixels that the call makes, which are the same in place.
Bytes pixelsOf(const Call& call, const Bytes& input, int width, int height) {
  TestImage in(width, height, 1, input, 1);
  TestImage out(width, height, 1, 8, 4);
  EXPECT_EQ(call(in.record, out.record), TLUX_OK);
  EXPECT_TRUE(out.isIntact() && in.isUnchanged());
  EXPECT_EQ(call(in.record, in.record), TLUX_OK);
  EXPECT_TRUE(in.isIntact());
  EXPECT_EQ(in.pixels(), out.pixels());
  return out.pixels();
}

TEST(LocalContrast, EqualsTheFormulas) {
  Random random(1);
  for (const auto& [width, height] : {std::pair{1, 1}, {6, 1}, {1, 9}, {5, 4}, {130, 14}}) {
    for (const int radius : {0, 1, 3, 15, std::numeric_limits<int>::max()}) {
      for (const auto& [low, high] : {std::pair{0, 255}, {100, 130}, {77, 77}}) {
        const Bytes input = random.values<std::uint8_t>(width * height, low, high);
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
          const Bytes actual =
              pixelsOf(deviation == 0 ? lee(radius, gain) : enhance(radius, deviation, gain), input,
                       width, height);
          for (std::size_t i = 0; i < input.size(); ++i) {
            const auto [n, sum, squares] = reference::windowMoments(
                input, {width, height}, static_cast<int>(i), std::min(radius, 200));
            const auto count = static_cast<long double>(n);
            const auto mean = static_cast<long double>(sum) / count;
            long double factor = gain / 1024.0L;
            if (deviation != 0) {
              const auto spread = static_cast<long double>(n * squares - sum * sum);
              const long double sigma = std::sqrt(spread) / count;
              factor = sigma > 0 ? std::clamp(deviation / sigma, 1.0L, factor) : factor;
            }
            // Double arithmetic may take a half to either side.
            const long double real = std::clamp(mean + factor * (input[i] - mean), 0.0L, 255.0L);
            ASSERT_LE(std::abs(actual[i] - real), 0.5L + 1e-9L) << "pixel " << i;
          }
          EXPECT_TRUE(gain != 1024 || actual == input);
        }
      }
    }
  }
}

TEST(ResFilter, PutsTheCoredResidualBack) {
  constexpr int kWidth = 150;
  constexpr int kHeight = 13;
  Random random(2);
  TestImage x(random, kWidth, kHeight, 1);
  TestImage smoothed(kWidth, kHeight, 1, 8);
  ASSERT_EQ(TLUX_GuidedFilter1D(nullptr, x->data, kWidth, x->data, kWidth, smoothed->data, kWidth,
                                kWidth, kHeight, 4, 900),
            TLUX_OK);
  const Bytes& input = x.given();
  const Bytes base = smoothed.pixels();
  for (const int threshold : {0, 1, 20, 255}) {
    for (const int gain : {0, 512, 700, 1024, 16384}) {
      const Bytes actual = pixelsOf(residual(4, 900, threshold, gain), input, kWidth, kHeight);
      for (std::size_t i = 0; i < input.size(); ++i) {
        const int d = input[i] - base[i];
        const double change =
            std::floor(std::max(std::abs(d) - threshold, 0) * gain / 1024.0 + 0.5);
        ASSERT_EQ(actual[i], std::clamp(base[i] + (d < 0 ? -change : change), 0.0, 255.0));
      }
    }
  }
}

// Against the public functions that the split is documented to be made of; what was found is
// printed.
TEST(BaseDetail, EqualsTheFormula) {
  Random random(3);
  for (const auto& [width, height, radius] :
       {std::tuple{1, 1, 1}, {2, 3, 4}, {40, 17, 2}, {33, 9, 200}}) {
    const Bytes input = random.values<std::uint8_t>(width * height);
    std::vector<float> light;
    for (const std::uint8_t code : input) {
      light.push_back(static_cast<float>(std::log10((TLUX_Degamma_Table[code] + 1) / 4096.0)));
    }
    std::vector<float> a(light), b(light), meanA(light), meanB(light), unused(light);
    ASSERT_EQ(GuideBlock(nullptr, light.data(), light.data(), height, width, width, a.data(),
                         b.data(), radius, 0.05f),
              TLUX_OK);
    BlockMeanVar(nullptr, a.data(), height, width, width, meanA.data(), unused.data(), radius);
    BlockMeanVar(nullptr, b.data(), height, width, width, meanB.data(), unused.data(), radius);
    std::vector<double> base;
    for (std::size_t i = 0; i < light.size(); ++i) {
      base.push_back(static_cast<double>(meanA[i]) * static_cast<double>(light[i]) +
                     static_cast<double>(meanB[i]));
    }
    const auto [least, most] = std::minmax_element(base.begin(), base.end());
    const double range = *most - *least;
    const double scale = range > std::log10(5.0) ? std::log10(5.0) / range : 1.0;

    testing::internal::CaptureStdout();
    const Bytes actual = pixelsOf(baseDetail(radius, 0.05f, 5.f), input, width, height);
    std::fflush(stdout);
    const std::string printed = testing::internal::GetCapturedStdout();
    double values[3] = {};
    ASSERT_EQ(
        std::sscanf(printed.c_str(), "maxBaseLayer = %lf, minBaseLayer = %lfScaleFactor= %lf\n",
                    &values[0], &values[1], &values[2]),
        3);
    EXPECT_NEAR(values[0], *most, 1e-5);
    EXPECT_NEAR(values[1], *least, 1e-5);
    EXPECT_NEAR(values[2], scale, 1e-5);
    for (std::size_t i = 0; i < light.size(); ++i) {
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
  EXPECT_EQ(pixelsOf(baseDetail(2, 0.01f, 1e5f), codes, 16, 16), codes);
  const Bytes uniform(256, 31);
  EXPECT_EQ(pixelsOf(baseDetail(2, 0.01f, 1.5f), uniform, 16, 16), uniform);
}

TEST(ColorMap, RisesInLightnessUpToTheRoundingOfItsColours) {
  Bytes levels(256);
  std::iota(levels.begin(), levels.end(), std::uint8_t{0});
  TestImage x(32, 8, 1, levels, 1);
  TestImage out(32, 8, 3, 8, 2);
  ASSERT_EQ(ColorMap(x->data, x->stride, out->data, out->stride, 32, 8), TLUX_OK);
  ASSERT_TRUE(out.isIntact());
  const Bytes colours = out.pixels();
  const auto colourOf = [&](int level) {
    return Bytes(colours.begin() + 3 * level, colours.begin() + 3 * level + 3);
  };
  EXPECT_EQ(colourOf(0), (Bytes{0x54, 0x01, 0x44}));
  EXPECT_EQ(colourOf(255), (Bytes{0x25, 0xE7, 0xFD}));
  // A point of the map that is a level itself: 85 = 3 / 9 of the way.
  EXPECT_EQ(colourOf(85), (Bytes{0x8E, 0x68, 0x31}));
  double last = -1;
  for (int level = 0; level < 256; ++level) {
    const Bytes colour = colourOf(level);
    const double luma = 0.0722 * TLUX_Degamma_Table[colour[0]] +
                        0.7152 * TLUX_Degamma_Table[colour[1]] +
                        0.2126 * TLUX_Degamma_Table[colour[2]];
    EXPECT_GT(luma, last - 4) << level; // of 4095
    last = luma;
  }
}

} // namespace
} // namespace tlux::test

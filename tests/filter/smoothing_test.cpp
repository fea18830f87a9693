#include "tlux/smoothing.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>

#include "reference/smoothing.hpp"
#include "support/simple_image.hpp"

namespace tlux::test {
namespace {

using Bytes = TestImage::Bytes;
constexpr int kHuge = std::numeric_limits<int>::max();

// A member of the family, called on images as planes.
struct Member {
  const char* name;
  int guides; // samples a pixel
  int inputs;
  int factor; // 0: not an argument
  decltype(&TLUX_GuidedFilter1D) filter;

  void operator()(const TestImage& guide, const TestImage& input, const TestImage& output,
                  int radius, int eps) const {
    const img& I = guide.record;
    const img& p = input.record;
    const img& q = output.record;
    EXPECT_EQ(factor > 0 ? TLUX_GuidedFilter1DS(nullptr, I.data, I.stride, p.data, p.stride, q.data,
                                                q.stride, q.width, q.height, radius, eps, factor)
                         : filter(nullptr, I.data, I.stride, p.data, p.stride, q.data, q.stride,
                                  q.width, q.height, radius, eps),
              TLUX_OK);
  }
};

const Member kMembers[] = {
    {"TLUX_GuidedFilter1D", 1, 1, 0, TLUX_GuidedFilter1D},
    {"TLUX_GuidedFilter1DS by 1", 1, 1, 1, nullptr},
    {"TLUX_GuidedFilter1DS by 2", 1, 1, 2, nullptr},
    {"TLUX_GuidedFilter1DS by 5", 1, 1, 5, nullptr},
    {"TLUX_GuidedFilter1DS by 16", 1, 1, 16, nullptr},
    {"GuidedFilter1D_3C", 1, 3, 0, GuidedFilter1D_3C},
    {"GuidedFilter3D", 3, 1, 0, GuidedFilter3D},
};

Bytes channelOf(const Bytes& pixels, int channels, int channel) {
  Bytes out;
  for (auto i = static_cast<std::size_t>(channel); i < pixels.size();
       i += static_cast<std::size_t>(channels)) {
    out.push_back(pixels[i]);
  }
  return out;
}

std::vector<double> expected(const Member& member, const Bytes& guide, const Bytes& input,
                             reference::Size size, int radius, int eps) {
  radius = std::min(radius, 1000);
  if (member.factor > 0) {
    return reference::fastGuidedFilter(guide, input, size, radius, eps, member.factor);
  }
  return member.guides == 1 ? reference::guidedFilter<1>(guide, input, size, radius, eps)
                            : reference::guidedFilter<3>(guide, input, size, radius, eps);
}

// Coefficients are truncated to 1 / 1024, which shows most with three of them.
TEST(PlaneGuidedFilter, IsCloseToTheFormulaInRealNumbers) {
  Random random(1);
  for (const auto& [width, height] :
       {std::pair{1, 1}, {2, 1}, {1, 7}, {3, 3}, {5, 4}, {17, 13}, {40, 9}, {150, 3}}) {
    for (const int radius : {0, 1, 2, 4, 9, 20, kHuge}) {
      for (const int eps : {1, 10, 400, kHuge}) {
        for (const int high : {255, 3}) {
          const int pixels = width * height;
          for (const Member& member : kMembers) {
            SCOPED_TRACE(testing::Message() << member.name << " " << width << "x" << height << " r "
                                            << radius << " eps " << eps << " high " << high);
            const Bytes guide = random.values<std::uint8_t>(pixels * member.guides, 0, high);
            const Bytes input = random.values<std::uint8_t>(pixels * member.inputs);
            TestImage I(width, height, member.guides, guide, 3);
            TestImage p(width, height, member.inputs, input, 1);
            TestImage q(width, height, member.inputs, 8, 5);
            member(I, p, q, radius, eps);
            for (int channel = 0; channel < member.inputs; ++channel) {
              const auto real = expected(member, guide, channelOf(input, member.inputs, channel),
                                         {width, height}, radius, eps);
              const Bytes actual = channelOf(q.pixels(), member.inputs, channel);
              for (std::size_t i = 0; i < actual.size(); ++i) {
                ASSERT_LT(std::abs(actual[i] - std::clamp(real[i], 0.0, 255.0)),
                          member.guides == 3 ? 2 : 1)
                    << i;
              }
            }
            ASSERT_TRUE(q.isIntact());
          }
        }
      }
    }
  }
}

// A picture wide enough for all vector lengths and lines, with an edge and texture.
struct Scene {
  static constexpr int kWidth = 611;
  static constexpr int kHeight = 37;
  Bytes guide;
  Bytes input; // three channels

  Scene() {
    Random random(2);
    for (int i = 0; i < kWidth * kHeight; ++i) {
      const int edge = i % kWidth > 300 ? 120 : 0;
      guide.push_back(static_cast<std::uint8_t>(edge + i % kWidth / 6 + random.intBetween(0, 9)));
      for (int c = 0; c < 3; ++c) {
        input.push_back(static_cast<std::uint8_t>(edge + random.intBetween(0, 130)));
      }
    }
  }
};

TEST(PlaneGuidedFilter, KeepsUniformInputsAndTheInputAtRadiusZero) {
  const Scene scene;
  const Bytes input = channelOf(scene.input, 3, 0);
  TestImage I(Scene::kWidth, Scene::kHeight, 1, scene.guide);
  TestImage p(Scene::kWidth, Scene::kHeight, 1, input);
  TestImage q(Scene::kWidth, Scene::kHeight, 1, 8);
  kMembers[0](I, p, q, 0, 10);
  EXPECT_EQ(q.pixels(), input);
  for (const int value : {0, 1, 100, 255}) {
    const Bytes uniform(input.size(), static_cast<std::uint8_t>(value));
    p.setPixels(uniform);
    for (const int member : {0, 2, 4}) {
      for (const int radius : {1, 7, 700}) {
        kMembers[member](I, p, q, radius, 10);
        EXPECT_EQ(q.pixels(), uniform) << kMembers[member].name;
      }
    }
  }
}

TEST(PlaneGuidedFilter, MayOverwriteItsInputOrItsGuide) {
  const Scene scene;
  for (const Member& member : kMembers) {
    SCOPED_TRACE(member.name);
    const Bytes guide = member.guides == 3 ? scene.input : scene.guide;
    const Bytes input = member.inputs == 3 ? scene.input : channelOf(scene.input, 3, 1);
    for (const int radius : {0, 3, 40}) {
      TestImage I(Scene::kWidth, Scene::kHeight, member.guides, guide);
      TestImage p(Scene::kWidth, Scene::kHeight, member.inputs, input);
      TestImage q(Scene::kWidth, Scene::kHeight, member.inputs, 8);
      member(I, p, q, radius, 100);
      member(I, p, p, radius, 100);
      EXPECT_EQ(p.pixels(), q.pixels());
      if (member.guides == member.inputs) {
        p.setPixels(input);
        member(I, p, I, radius, 100);
        EXPECT_EQ(I.pixels(), q.pixels());
      }
    }
  }
}

TEST(BilateralFilter, EqualsTheFormula) {
  Random random(3);
  for (const auto& [width, height, radius] :
       {std::tuple{1, 1, 3}, {2, 5, 1}, {7, 3, 4}, {33, 20, 2}, {40, 9, 12}, {600, 3, 2}}) {
    for (const auto& [range, space] : {std::pair{0.5f, 1.0f}, {20.f, 2.0f}, {1e6f, 1e6f}}) {
      for (const int high : {255, 30}) {
        SCOPED_TRACE(testing::Message() << width << "x" << height << " r " << radius << " sigmas "
                                        << range << " " << space);
        const Bytes input = random.values<std::uint8_t>(width * height, 0, high);
        TestImage p(width, height, 1, input, 2);
        TestImage q(width, height, 1, 8, 3);
        ASSERT_EQ(onPlanes(BilateralFilter1D, p.record, q.record, radius, range, space), TLUX_OK);
        ASSERT_EQ(q.pixels(),
                  reference::bilateral(input, {width, height}, radius, static_cast<double>(range),
                                       static_cast<double>(space)));
        ASSERT_TRUE(q.isIntact());
        ASSERT_EQ(onPlanes(BilateralFilter1D, p.record, p.record, radius, range, space), TLUX_OK);
        ASSERT_EQ(p.pixels(), q.pixels());
        ASSERT_TRUE(p.isIntact());
      }
    }
  }
}

// The largest window, where the sums come closest to 31 bits.
TEST(BilateralFilter, KeepsUniformPlanesUpToTheLargestRadius) {
  for (const int radius : {0, 8, 9, 64}) {
    for (const float sigma : {1e-3f, 30.f, std::numeric_limits<float>::infinity()}) {
      const Bytes uniform(9 * 4, 255);
      TestImage p(9, 4, 1, uniform);
      EXPECT_EQ(onPlanes(BilateralFilter1D, p.record, p.record, radius, sigma, sigma), TLUX_OK);
      EXPECT_EQ(p.pixels(), uniform);
    }
  }
}

std::uint32_t variance(const img& in, const img& out, int radius) {
  return TLUX_CalculateVairance(nullptr, in.data, in.stride,
                                reinterpret_cast<std::uint16_t*>(out.data), out.stride, in.width,
                                in.height, radius);
}

TEST(CalculateVariance, IsTheRoundedVarianceOfTheWindow) {
  Random random(4);
  for (const auto& [width, height] : {std::pair{1, 1}, {6, 1}, {1, 9}, {33, 14}}) {
    for (const int radius : {0, 1, 3, 15, 40, kHuge}) {
      for (const auto& [low, high] : {std::pair{0, 255}, {0, 1}, {254, 255}}) {
        const Bytes input = random.values<std::uint8_t>(width * height, low, high);
        TestImage x(width, height, 1, input, 1);
        TestImage v(width, height, 1, 16, 4);
        ASSERT_EQ(variance(x.record, v.record, radius), TLUX_OK);
        ASSERT_TRUE(v.isIntact());
        const Bytes bytes = v.pixels();
        for (std::size_t i = 0; i < input.size(); ++i) {
          const auto [n, sum, squares] = reference::windowMoments(
              input, {width, height}, static_cast<int>(i), std::min(radius, 100));
          // Twice n² times the variance, within n² of twice n² times the result.
          const std::int64_t exact = 2 * (n * squares - sum * sum);
          const int actual = bytes[2 * i] | bytes[2 * i + 1] << 8;
          ASSERT_LE(std::abs(exact - 2 * n * n * actual), n * n) << radius;
        }
      }
    }
  }
}

} // namespace
} // namespace tlux::test

#include "tlux/smoothing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <span>
#include <tuple>
#include <utility>
#include <vector>

#include "reference/smoothing.hpp"
#include "support/random.hpp"
#include "support/simple_image.hpp"
#include "tlux/guided_filter.h"
#include "tlux/platform.h"

namespace tlux::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
constexpr int kHuge = std::numeric_limits<int>::max();

// A member of the family, called on images as planes.
struct Member {
  const char* name;
  int guides; // samples a pixel
  int inputs;
  int factor; // 0: not an argument
  decltype(&TLUX_GuidedFilter1D) filter;

  std::uint32_t operator()(MMemMgr manager, const img& guide, const img& input, const img& output,
                           int radius, int eps) const {
    if (factor > 0) {
      return TLUX_GuidedFilter1DS(manager, guide.data, guide.stride, input.data, input.stride,
                                  output.data, output.stride, output.width, output.height, radius,
                                  eps, factor);
    }
    return filter(manager, guide.data, guide.stride, input.data, input.stride, output.data,
                  output.stride, output.width, output.height, radius, eps);
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

std::vector<long double> expected(const Member& member, const Bytes& guide, const Bytes& input,
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
       {std::pair{1, 1}, {2, 1}, {1, 7}, {3, 3}, {5, 4}, {17, 13}, {40, 9}}) {
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
            ASSERT_EQ(member(nullptr, I.record, p.record, q.record, radius, eps), TLUX_OK);
            for (int channel = 0; channel < member.inputs; ++channel) {
              const auto real = expected(member, guide, channelOf(input, member.inputs, channel),
                                         {width, height}, radius, eps);
              const Bytes actual = channelOf(q.pixels(), member.inputs, channel);
              for (std::size_t i = 0; i < actual.size(); ++i) {
                ASSERT_LT(std::abs(actual[i] - std::clamp(real[i], 0.0L, 255.0L)),
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

TEST(PlaneGuidedFilter, MembersAgreeWhereTheyMeet) {
  const Scene scene;
  TestImage I(Scene::kWidth, Scene::kHeight, 1, scene.guide);
  TestImage p3(Scene::kWidth, Scene::kHeight, 3, scene.input);
  TestImage q3(Scene::kWidth, Scene::kHeight, 3, 8);
  TestImage q(Scene::kWidth, Scene::kHeight, 1, 8);
  TestImage fast(Scene::kWidth, Scene::kHeight, 1, 8, 2);
  ASSERT_EQ(kMembers[5](nullptr, I.record, p3.record, q3.record, 6, 50), TLUX_OK);
  for (int channel = 0; channel < 3; ++channel) {
    TestImage p(Scene::kWidth, Scene::kHeight, 1, channelOf(scene.input, 3, channel));
    kMembers[0](nullptr, I.record, p.record, q.record, 6, 50);
    EXPECT_EQ(q.pixels(), channelOf(q3.pixels(), 3, channel));
    kMembers[1](nullptr, I.record, p.record, fast.record, 6, 50);
    EXPECT_EQ(q.pixels(), fast.pixels());
  }
  // A guide of three equal channels has three times the variance along grey.
  Bytes grey;
  for (const std::uint8_t sample : scene.guide) {
    grey.insert(grey.end(), 3, sample);
  }
  TestImage I3(Scene::kWidth, Scene::kHeight, 3, grey);
  TestImage p(Scene::kWidth, Scene::kHeight, 1, channelOf(scene.input, 3, 2));
  kMembers[6](nullptr, I3.record, p.record, fast.record, 6, 150);
  const Bytes colour = fast.pixels();
  const Bytes one = q.pixels();
  for (std::size_t i = 0; i < one.size(); ++i) {
    ASSERT_NEAR(colour[i], one[i], 1);
  }
}

TEST(PlaneGuidedFilter, KeepsUniformInputsAndTheInputAtRadiusZero) {
  const Scene scene;
  const Bytes input = channelOf(scene.input, 3, 0);
  TestImage I(Scene::kWidth, Scene::kHeight, 1, scene.guide);
  TestImage p(Scene::kWidth, Scene::kHeight, 1, input);
  TestImage q(Scene::kWidth, Scene::kHeight, 1, 8);
  kMembers[0](nullptr, I.record, p.record, q.record, 0, 10);
  EXPECT_EQ(q.pixels(), input);
  for (const int value : {0, 1, 100, 255}) {
    const Bytes uniform(input.size(), static_cast<std::uint8_t>(value));
    p.setPixels(uniform);
    for (const int member : {0, 2, 4}) {
      for (const int radius : {1, 7, 700}) {
        kMembers[member](nullptr, I.record, p.record, q.record, radius, 10);
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
      member(nullptr, I.record, p.record, q.record, radius, 100);
      member(nullptr, I.record, p.record, p.record, radius, 100);
      EXPECT_EQ(p.pixels(), q.pixels());
      if (member.guides == member.inputs) {
        p.setPixels(input);
        member(nullptr, I.record, p.record, I.record, radius, 100);
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
        const auto filter = [&p, r = radius, a = range, b = space](const img& out) {
          return BilateralFilter1D(nullptr, p.record.data, p.record.stride, out.data, out.stride,
                                   out.width, out.height, r, a, b);
        };
        ASSERT_EQ(filter(q.record), TLUX_OK);
        ASSERT_EQ(q.pixels(),
                  reference::bilateral(input, {width, height}, radius, static_cast<double>(range),
                                       static_cast<double>(space)));
        ASSERT_TRUE(q.isIntact());
        ASSERT_EQ(filter(p.record), TLUX_OK);
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
      EXPECT_EQ(BilateralFilter1D(nullptr, p.record.data, 9, p.record.data, 9, 9, 4, radius, sigma,
                                  sigma),
                TLUX_OK);
      EXPECT_EQ(p.pixels(), uniform);
    }
  }
}

std::uint16_t wordAt(const Bytes& bytes, std::size_t i) {
  return static_cast<std::uint16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
}

TEST(CalculateVariance, IsTheRoundedVarianceOfTheWindow) {
  Random random(4);
  for (const auto& [width, height] : {std::pair{1, 1}, {6, 1}, {1, 9}, {33, 14}}) {
    for (const int radius : {0, 1, 3, 15, 40, kHuge}) {
      for (const auto& [low, high] : {std::pair{0, 255}, {0, 1}, {254, 255}}) {
        const Bytes input = random.values<std::uint8_t>(width * height, low, high);
        TestImage x(width, height, 1, input, 1);
        TestImage v(width, height, 1, 16, 4);
        ASSERT_EQ(TLUX_CalculateVairance(nullptr, x.record.data, x.record.stride,
                                         reinterpret_cast<std::uint16_t*>(v.record.data),
                                         v.record.stride, width, height, radius),
                  TLUX_OK);
        ASSERT_TRUE(v.isIntact());
        const Bytes bytes = v.pixels();
        for (std::size_t i = 0; i < input.size(); ++i) {
          std::int64_t sum = 0;
          std::int64_t squares = 0;
          const std::int64_t n = reference::forWindow({width, height}, static_cast<int>(i) % width,
                                                      static_cast<int>(i) / width,
                                                      std::min(radius, 100), [&](std::size_t j) {
                                                        sum += input[j];
                                                        squares += input[j] * input[j];
                                                      });
          // Twice n² times the variance, within n² of twice n² times the result.
          const std::int64_t exact = 2 * (n * squares - sum * sum);
          ASSERT_LE(std::abs(exact - 2 * n * n * wordAt(bytes, i)), n * n) << radius;
        }
      }
    }
  }
}

struct Call {
  const char* name;
  std::uint32_t (*run)(MMemMgr manager, const std::uint8_t* in, int inPitch, std::uint8_t* out,
                       int outPitch, int width, int height, int radius);
  int outBytes; // a pixel
};

const Call kCalls[] = {
    {"TLUX_GuidedFilter1D",
     [](MMemMgr m, const std::uint8_t* in, int inPitch, std::uint8_t* out, int outPitch, int w,
        int h, int r) {
       return TLUX_GuidedFilter1D(m, in, inPitch, in, inPitch, out, outPitch, w, h, r, 10);
     },
     1},
    {"TLUX_GuidedFilter1DS",
     [](MMemMgr m, const std::uint8_t* in, int inPitch, std::uint8_t* out, int outPitch, int w,
        int h, int r) {
       return TLUX_GuidedFilter1DS(m, in, inPitch, in, inPitch, out, outPitch, w, h, r, 10, 2);
     },
     1},
    {"BilateralFilter1D",
     [](MMemMgr m, const std::uint8_t* in, int inPitch, std::uint8_t* out, int outPitch, int w,
        int h, int r) { return BilateralFilter1D(m, in, inPitch, out, outPitch, w, h, r, 20, 3); },
     1},
    {"TLUX_CalculateVairance",
     [](MMemMgr m, const std::uint8_t* in, int inPitch, std::uint8_t* out, int outPitch, int w,
        int h, int r) {
       return TLUX_CalculateVairance(m, in, inPitch, reinterpret_cast<std::uint16_t*>(out),
                                     outPitch, w, h, r);
     },
     2},
};

TEST(Smoothing, RejectsBadArgumentsAndLeavesEmptyPlanesAlone) {
  std::uint8_t in[64] = {1, 2, 3};
  alignas(2) std::uint8_t out[64] = {};
  for (const Call& call : kCalls) {
    SCOPED_TRACE(call.name);
    const int pitch = 4 * call.outBytes;
    const auto run = [&](const std::uint8_t* input, int inPitch, std::uint8_t* output, int outPitch,
                         int width, int height, int radius) {
      return call.run(nullptr, input, inPitch, output, outPitch, width, height, radius);
    };
    EXPECT_EQ(run(nullptr, 4, out, pitch, 4, 4, 1), TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(run(in, 4, nullptr, pitch, 4, 4, 1), TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(run(in, 3, out, pitch, 4, 4, 1), TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(run(in, 4, out, pitch - 1, 4, 4, 1), TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(run(in, 4, out, pitch, 4, 4, -1), TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(run(in, 1 << 20, out, 1 << 21, 1 << 20, 1 << 20, 1), TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(run(in, 4, out, pitch, 0, 4, 1), TLUX_OK);
    EXPECT_EQ(run(in, 4, out, pitch, 4, -1, 1), TLUX_OK);
    EXPECT_EQ(run(in, 4, out, pitch, -kHuge - 1, kHuge, 1), TLUX_OK);
  }
  const auto bilateral = [&](int radius, float range, float space) {
    return BilateralFilter1D(nullptr, in, 4, out, 4, 4, 4, radius, range, space);
  };
  const float kNan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(bilateral(65, 1, 1), TLUX_ERR_INVALID_PARAM);
  for (const float bad : {0.f, -1.f, kNan}) {
    EXPECT_EQ(bilateral(2, bad, 1), TLUX_ERR_INVALID_PARAM);
    EXPECT_EQ(bilateral(2, 1, bad), TLUX_ERR_INVALID_PARAM);
  }
  for (const int factor : {0, -1, 17}) {
    EXPECT_EQ(TLUX_GuidedFilter1DS(nullptr, in, 4, in, 4, out, 4, 4, 4, 2, 10, factor),
              TLUX_ERR_INVALID_PARAM);
  }
  EXPECT_EQ(TLUX_GuidedFilter1D(nullptr, in, 4, in, 4, out, 4, 4, 4, 2, 0), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_GuidedFilter1D(nullptr, nullptr, 4, in, 4, out, 4, 4, 4, 2, 1),
            TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(GuidedFilter1D_3C(nullptr, in, 4, in, 11, out, 12, 4, 4, 2, 1), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(GuidedFilter1D_3C(nullptr, in, 4, in, 12, out, 11, 4, 4, 2, 1), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(GuidedFilter3D(nullptr, in, 11, in, 4, out, 4, 4, 4, 2, 1), TLUX_ERR_INVALID_PARAM);
  EXPECT_TRUE(std::ranges::all_of(out, [](std::uint8_t byte) { return byte == 0; }));
}

} // namespace
} // namespace tlux::test

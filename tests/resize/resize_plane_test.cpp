#include <gtest/gtest.h>

#include <vector>

#include "reference/loops.hpp"
#include "reference/resize.hpp"
#include "reference/simple_tools.hpp"
#include "support/simple_image.hpp"
#include "tlux/resize.h"

namespace tlux::test {
namespace {

using ResizePlane = uint32_t(const std::uint8_t*, std::int32_t, std::int32_t, std::int32_t,
                             std::uint8_t*, std::int32_t, std::int32_t, std::int32_t);

struct Resize {
  int sourceWidth, sourceHeight, width, height;
};

constexpr Resize kResizes[] = {
    {1, 1, 1, 1},     {1, 1, 9, 5},     {9, 5, 1, 1},     {2, 3, 7, 8},      {3, 2, 4, 1},
    {8, 8, 4, 4},     {4, 4, 8, 8},     {7, 9, 4102, 3},  {140000, 1, 5, 1}, {1100, 3, 7, 9},
    {33, 21, 34, 20}, {640, 5, 641, 6}, {3, 700, 700, 3}, {513, 4, 512, 4}};

std::vector<std::int16_t> cubicTable(int a) {
  std::vector<std::int16_t> table(TLUX_CUBIC_TABLE_SIZE);
  EXPECT_EQ(InitCubicCoeffTab(table.data(), a), TLUX_OK);
  return table;
}

// The samples of a resized random plane, as those of its source.
class Resized {
 public:
  Resized(Random& random, const Resize& r, int low, int high, ResizePlane* resize)
      : source_(r.sourceWidth, r.sourceHeight, 1, 8, 3), target_(r.width, r.height, 1, 8, 5) {
    source_.setPixels(random.values<std::uint8_t>(r.sourceWidth * r.sourceHeight, low, high));
    EXPECT_EQ(resize(source_->data, r.sourceWidth, r.sourceHeight, source_->stride, target_->data,
                     r.width, r.height, target_->stride),
              TLUX_OK);
    EXPECT_TRUE(target_.isIntact() && source_.isUnchanged());
  }

  int at(int x, int y) const { return target_.at(x, y); }
  reference::Channel source() const {
    const img& in = source_.record;
    return {in.data, in.width, in.height, in.stride};
  }

 private:
  TestImage source_;
  TestImage target_;
};

// Calls check(resized, resize, x, y) for every output sample of every resize.
template <class Check>
void forEachSample(ResizePlane* resize, int low, int high, Check check) {
  Random random(1);
  for (const Resize& r : kResizes) {
    SCOPED_TRACE(testing::Message()
                 << r.sourceWidth << "x" << r.sourceHeight << " to " << r.width << "x" << r.height);
    const Resized resized(random, r, low, high, resize);
    reference::forEachPixel(r.width, r.height, [&](int x, int y) {
      ASSERT_NO_FATAL_FAILURE(check(resized, r, x, y)) << x << "," << y;
    });
  }
}

// Truncations within 1.25 of 1/128 of the rounded value, and weights of 1/65536.
TEST(ResizeBilinear, IsTheRoundedInterpolationAtAlignedCentres) {
  constexpr double kTolerance = 0.5 + 1.25 / 128 + 2 * 255 / 65536.0;
  forEachSample(asfImageResize_BL_C1, 0, 255,
                [&](const Resized& resized, const Resize& r, int x, int y) {
                  const reference::Channel in = resized.source();
                  ASSERT_EQ(resized.at(x, y), reference::bilinear(in, r.width, r.height, x, y));
                  const double exact = reference::centreAligned(in, r.width, r.height, x, y);
                  ASSERT_NEAR(resized.at(x, y), exact, kTolerance);
                });
}

TEST(ResizeBicubic, IsTheClampedCubicConvolution) {
  const auto table = cubicTable(TLUX_CUBIC_SHARP);
  forEachSample(
      ImageResize_Cubic_C1, 0, 255, [&](const Resized& resized, const Resize& r, int x, int y) {
        const reference::Channel in = resized.source();
        ASSERT_EQ(resized.at(x, y), reference::bicubic(in, r.width, r.height, x, y, table.data()));
        const double exact = reference::bicubicExact(in, r.width, r.height, x, y, -0.75);
        ASSERT_NEAR(resized.at(x, y), exact, 1.0); // positions of 1/1024, slopes of up to 255·1.3
      });
}

TEST(ResizeBicubic, TakesTheTableOfTheCaller) {
  static const auto table = cubicTable(TLUX_CUBIC_SMOOTH);
  const auto resize = [](const std::uint8_t* source, std::int32_t w, std::int32_t h, std::int32_t s,
                         std::uint8_t* target, std::int32_t tw, std::int32_t th, std::int32_t ts) {
    return Resize_Bicubic_8u_C1(source, w, h, s, target, tw, th, ts, table.data());
  };
  forEachSample(resize, 0, 255, [&](const Resized& resized, const Resize& r, int x, int y) {
    const double exact = reference::bicubicExact(resized.source(), r.width, r.height, x, y, -0.5);
    ASSERT_NEAR(resized.at(x, y), exact, 1.0);
  });
  // Whatever the table holds, the call stays in its planes and defined.
  const std::vector<std::int16_t> wild(TLUX_CUBIC_TABLE_SIZE, -32768);
  std::vector<std::uint8_t> source(64, 255);
  std::vector<std::uint8_t> target(100);
  EXPECT_EQ(Resize_Bicubic_8u_C1(source.data(), 8, 8, 8, target.data(), 10, 10, 10, wild.data()),
            TLUX_OK);
}

TEST(CubicTable, HoldsKeysWeights) {
  for (const int a : {-256, TLUX_CUBIC_SHARP, TLUX_CUBIC_SMOOTH, -1, 0}) {
    const auto table = cubicTable(a);
    for (int phase = 0; phase < TLUX_CUBIC_PHASES; ++phase) {
      const std::int16_t* weights = table.data() + 4 * phase;
      ASSERT_EQ(weights[0] + weights[1] + weights[2] + weights[3], 16384);
      for (int tap = 0; tap < 4; ++tap) {
        const double exact = 16384 * reference::keys(a / 256.0, tap - 1 - phase / 1024.0);
        ASSERT_NEAR(weights[tap], exact, tap == 1 || tap == 2 ? 2.0 : 0.5) << phase;
      }
    }
  }
}

} // namespace
} // namespace tlux::test

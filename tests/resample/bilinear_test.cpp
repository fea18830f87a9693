#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "reference/simple_tools.hpp"
#include "support/guarded_buffer.hpp"
#include "support/random.hpp"
#include "tlux/resize.h"

namespace tlux::test {
namespace {

struct Resize {
  int sourceWidth, sourceHeight, width, height;
};

constexpr Resize kResizes[] = {{1, 1, 1, 1},     {1, 1, 9, 5},     {9, 5, 1, 1},
                               {8, 8, 4, 4},     {4, 4, 8, 8},     {7, 9, 530, 3},
                               {1100, 3, 7, 9},  {33, 21, 34, 20}, {640, 5, 641, 6},
                               {3, 700, 700, 3}, {513, 4, 512, 4}};

class Resized {
 public:
  Resized(Random& random, const Resize& r, int low, int high)
      : source_(
            static_cast<std::size_t>((r.sourceWidth + 3) * (r.sourceHeight - 1) + r.sourceWidth)),
        target_(r.width, r.height, r.width + 5),
        samples_{source_.data(), r.sourceWidth, r.sourceHeight, r.sourceWidth + 3, 1} {
    random.fill(source_.bytes(), low, high);
    EXPECT_EQ(asfImageResize_BL_C1(source_.data(), r.sourceWidth, r.sourceHeight, r.sourceWidth + 3,
                                   target_.data(), r.width, r.height, r.width + 5),
              TLUX_OK);
    EXPECT_TRUE(target_.isIntact());
    EXPECT_TRUE(source_.isIntact());
  }

  int at(int x, int y) const { return target_.data()[y * target_.pitch() + x]; }
  const reference::Samples& samples() const { return samples_; }

 private:
  GuardedBuffer source_;
  GuardedPlane target_;
  reference::Samples samples_;
};

// Half a step of rounding, and what weights of 1/4096 and rows of 1/256 accuracy add.
TEST(ResizeBilinear, IsTheRoundedInterpolationAtAlignedCentres) {
  constexpr double kTolerance = 0.5 + 2 * 255 / 4096.0 + 1 / 256.0;
  Random random(1);
  for (const Resize& r : kResizes) {
    SCOPED_TRACE(testing::Message()
                 << r.sourceWidth << "x" << r.sourceHeight << " to " << r.width << "x" << r.height);
    const Resized resized(random, r, 0, 255);
    for (int y = 0; y < r.height; ++y) {
      for (int x = 0; x < r.width; ++x) {
        const double exact = reference::centreAligned(resized.samples(), r.width, r.height, x, y);
        ASSERT_NEAR(resized.at(x, y), exact, kTolerance) << x << "," << y;
      }
    }
  }
}

TEST(ResizeBilinear, KeepsFlatPlanesAndEqualSizes) {
  Random random(2);
  for (const Resize& r : kResizes) {
    for (const int level : {0, 1, 128, 255}) {
      const Resized flat(random, r, level, level);
      for (int y = 0; y < r.height; ++y) {
        for (int x = 0; x < r.width; ++x) {
          ASSERT_EQ(flat.at(x, y), level);
        }
      }
    }
    const Resized copy(random, {r.width, r.height, r.width, r.height}, 0, 255);
    for (int y = 0; y < r.height; ++y) {
      for (int x = 0; x < r.width; ++x) {
        ASSERT_EQ(copy.at(x, y), copy.samples().at(x, y));
      }
    }
    // The columns of equal width are copied too while the rows change.
    const Resized stretched(random, {r.width, 1, r.width, r.height}, 0, 255);
    for (int x = 0; x < r.width; ++x) {
      ASSERT_EQ(stretched.at(x, r.height - 1), stretched.samples().at(x, 0));
    }
  }
}

TEST(ResizeBilinear, RefusesBadPlanes) {
  std::uint8_t source[64] = {};
  std::uint8_t target[64];
  std::fill(std::begin(target), std::end(target), std::uint8_t{9});
  struct Case {
    const std::uint8_t* source;
    int sourceWidth, sourceHeight, sourceStride;
    std::uint8_t* target;
    int width, height, stride;
  };
  for (const Case& c : {Case{nullptr, 4, 4, 4, target, 4, 4, 4},
                        {source, 4, 4, 4, nullptr, 4, 4, 4},
                        {source, 0, 4, 4, target, 4, 4, 4},
                        {source, 4, -1, 4, target, 4, 4, 4},
                        {source, 4, 4, 3, target, 4, 4, 4},
                        {source, 4, 4, 4, target, 0, 4, 4},
                        {source, 4, 4, 4, target, 4, -4, 4},
                        {source, 4, 4, 4, target, 4, 4, -4}}) {
    EXPECT_EQ(asfImageResize_BL_C1(c.source, c.sourceWidth, c.sourceHeight, c.sourceStride,
                                   c.target, c.width, c.height, c.stride),
              TLUX_ERR_INVALID_PARAM);
  }
  EXPECT_TRUE(std::all_of(std::begin(target), std::end(target), [](auto v) { return v == 9; }));
}

} // namespace
} // namespace tlux::test

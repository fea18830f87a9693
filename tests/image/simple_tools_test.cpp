#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

#include "image/lab_tables.hpp"
#include "image/simple_picture.hpp"
#include "reference/simple_tools.hpp"
#include "tlux/resize.h"
#include "tlux/simple_image.h"

namespace tlux::test {
namespace {

// Sizes around the run length of the kernels, and single pixels.
constexpr std::pair<int, int> kSizes[] = {{1, 1}, {7, 3}, {255, 2}, {256, 2}, {259, 3}, {600, 1}};

TEST(SimpleTools, ConvertColoursPixelByPixel) {
  Random random(1);
  for (const int channels : {3, 4, 5}) {
    for (const auto& [width, height] : kSizes) {
      SimplePicture source(random, width, height, channels, 8, 3);
      SimplePicture gray(random, width, height, 1, 8, 2);
      SimplePicture largest(random, width + 1, height + 1, 1);
      SimplePicture lab(random, width, height, 3, 8, 1);
      to_gray(source, gray);
      to_maxgray(source, largest);
      img_lab(source, lab);
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          const int b = source.at(x, y, 0);
          const int g = source.at(x, y, 1);
          const int r = source.at(x, y, 2);
          ASSERT_EQ(gray.at(x, y), reference::gray(b, g, r));
          ASSERT_EQ(largest.at(x, y), std::max({b, g, r}));
          const reference::Lab expected = reference::lab(b, g, r);
          ASSERT_EQ(lab.at(x, y, 0), expected.l);
          ASSERT_EQ(lab.at(x, y, 1), expected.a);
          ASSERT_EQ(lab.at(x, y, 2), expected.b);
        }
      }
      EXPECT_TRUE(source.isUnchanged());
      EXPECT_TRUE(gray.isIntactAround());
      EXPECT_TRUE(lab.isIntactAround());
      EXPECT_EQ(largest.at(width, height - 1), largest.was(width, height - 1));
    }
  }
}

// Every colour there is, so that the division by 100 is seen at every value.
TEST(SimpleTools, GrayIsExactForEveryColour) {
  img* source = createimg(nullptr, 256, 256, 8, 3);
  img* gray = createimg(nullptr, 256, 256, 8, 1);
  for (int b = 0; b < 256; ++b) {
    for (int g = 0; g < 256; ++g) {
      for (int r = 0; r < 256; ++r) {
        std::uint8_t* pixel = source->rows[g] + 3 * r;
        pixel[0] = static_cast<std::uint8_t>(b);
        pixel[1] = static_cast<std::uint8_t>(g);
        pixel[2] = static_cast<std::uint8_t>(r);
      }
    }
    to_gray(source, gray);
    bool exact = true;
    for (int g = 0; g < 256; ++g) {
      for (int r = 0; r < 256; ++r) {
        exact &= gray->rows[g][r] == reference::gray(b, g, r);
      }
    }
    ASSERT_TRUE(exact) << b;
  }
  release_img(nullptr, &source);
  release_img(nullptr, &gray);
}

TEST(SimpleTools, LabTablesAreTheCurvesTheyStandFor) {
  int offByOne = 0;
  for (int i = 0; i < 256; ++i) {
    const double curve = 1024 * reference::companded(i / 255.0);
    const int value = lab_cbrt_table[static_cast<std::size_t>(i)];
    EXPECT_EQ(value, static_cast<int>(std::floor(curve + 0.009))) << i;
    const int fromRounding = std::abs(value - static_cast<int>(std::lround(curve)));
    EXPECT_LE(fromRounding, 1);
    offByOne += fromRounding;
  }
  EXPECT_EQ(offByOne, 122); // a truncation with a hair of bias, not a rounding
  EXPECT_EQ(lab_cbrt_table[150], 858);
  EXPECT_EQ(lab_cbrt_table[255], 1024);
  for (int v = 0; v <= 1024; ++v) {
    const double lightness = std::round((116.0 * v / 1024 - 16) * 255 / 100);
    EXPECT_EQ(lab_l_table[static_cast<std::size_t>(v)], std::max(lightness, 0.0)) << v;
  }
  EXPECT_EQ(lab_l_table[142], 0);
  EXPECT_EQ(lab_l_table[143], 1);
  EXPECT_EQ(lab_l_table[1024], 255);
}

TEST(SimpleTools, CompareImagesPixelByPixel) {
  Random random(2);
  for (const auto& [width, height] : kSizes) {
    SimplePicture a(random, width, height, 1, 8, 3);
    SimplePicture b(random, width, height, 1);
    SimplePicture c(random, width, height, 1, 8, 1);
    SimplePicture d(random, width + 2, height + 1, 1);
    SimplePicture e(random, width, height, 1, 8, 5);
    SimplePicture out(random, width, height, 1, 8, 2);
    for (int y = 0; y < height; ++y) { // masks with many zeros
      for (int x = 0; x < width; ++x) {
        b->rows[y][x] &= static_cast<std::uint8_t>(-(b->rows[y][x] & 1));
      }
    }
    const auto expectEverywhere = [&](const std::function<int(int, int)>& expected) {
      for (int y = 0; y < a->height; ++y) {
        for (int x = 0; x < a->width; ++x) {
          ASSERT_EQ(out.at(x, y), expected(x, y)) << x << "," << y;
        }
      }
      EXPECT_TRUE(out.isIntactAround());
    };
    img_subnorm(a, b, out);
    expectEverywhere(
        [&](int x, int y) { return reference::largestDifference(a.at(x, y), {b.at(x, y)}); });
    img_subnorm3(a, b, c, out);
    expectEverywhere([&](int x, int y) {
      return reference::largestDifference(a.at(x, y), {b.at(x, y), c.at(x, y)});
    });
    img_subnorm2(a, b, c, d, e, out);
    expectEverywhere([&](int x, int y) {
      return reference::largestDifference(a.at(x, y),
                                          {b.at(x, y), c.at(x, y), d.at(x, y), e.at(x, y)});
    });
    img_or(b, b, out);
    expectEverywhere([&](int x, int y) { return b.at(x, y) != 0 ? 255 : 0; });
    img_or(b, c, out);
    expectEverywhere([&](int x, int y) { return (b.at(x, y) != 0 || c.at(x, y) != 0) ? 255 : 0; });
    EXPECT_TRUE(a.isUnchanged());
  }
}

TEST(SimpleTools, WorkInPlace) {
  Random random(3);
  for (const int channels : {3, 4}) {
    SimplePicture gray(random, 700, 2, channels);
    SimplePicture largest(random, 700, 2, channels);
    SimplePicture lab(random, 700, 2, channels);
    to_gray(gray, gray);
    to_maxgray(largest, largest);
    img_lab(lab, lab);
    for (int y = 0; y < 2; ++y) {
      for (int x = 0; x < 700; ++x) {
        ASSERT_EQ(gray->rows[y][x],
                  reference::gray(gray.was(x, y, 0), gray.was(x, y, 1), gray.was(x, y, 2)));
        ASSERT_EQ(largest->rows[y][x],
                  std::max({largest.was(x, y, 0), largest.was(x, y, 1), largest.was(x, y, 2)}));
        const auto expected = reference::lab(lab.was(x, y, 0), lab.was(x, y, 1), lab.was(x, y, 2));
        ASSERT_EQ(lab->rows[y][3 * x], expected.l);
        ASSERT_EQ(lab->rows[y][3 * x + 2], expected.b);
      }
    }
  }
  SimplePicture a(random, 700, 2, 1);
  SimplePicture b(random, 700, 2, 1);
  img_subnorm(a, b, a);
  img_subnorm3(a, b, b, b);
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 700; ++x) {
      ASSERT_EQ(a.at(x, y), reference::largestDifference(a.was(x, y), {b.was(x, y)}));
      ASSERT_EQ(b.at(x, y), reference::largestDifference(a.at(x, y), {b.was(x, y)}));
    }
  }
}

TEST(SimpleTools, NarrowAndWidenSamplesOnAnyAddress) {
  Random random(4);
  for (const auto& [width, height] : kSizes) {
    SimplePicture samples(random, width, height, 1, 32, 3);
    GuardedBuffer bytes(static_cast<std::size_t>(width * height));
    int2byte(samples, bytes.data());
    SimplePicture widened(random, width, height, 1, 32, 1);
    byte2int(bytes.data(), -1, widened);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        std::uint32_t sample = 0;
        std::memcpy(&sample, samples->rows[y] + 4 * x, 4);
        ASSERT_EQ(bytes.data()[y * width + x], sample & 255);
        std::memcpy(&sample, widened->rows[y] + 4 * x, 4);
        ASSERT_EQ(sample, bytes.data()[y * width + x]);
      }
    }
    EXPECT_TRUE(samples.isUnchanged());
    EXPECT_TRUE(widened.isIntactAround());
    EXPECT_TRUE(bytes.isIntact());
  }
}

TEST(SimpleTools, ResizeFromTheCorner) {
  Random random(5);
  constexpr std::pair<int, int> kResizes[] = {{1, 1}, {2, 2}, {4, 4},   {5, 9},
                                              {9, 4}, {3, 1}, {200, 7}, {530, 3}};
  for (const auto resize : {resize_a, resize_bgr}) {
    for (const int channels : {1, 3, 4}) {
      for (const auto& [sourceWidth, sourceHeight] : kResizes) {
        for (const auto& [width, height] : kResizes) {
          SimplePicture source(random, sourceWidth, sourceHeight, channels, 8, 3);
          SimplePicture target(random, width, height, channels, 8, 2);
          resize(source, target);
          for (int c = 0; c < channels; ++c) {
            const reference::Samples samples{source.before() + c, sourceWidth, sourceHeight,
                                             source->stride, channels};
            for (int y = 0; y < height; ++y) {
              for (int x = 0; x < width; ++x) {
                ASSERT_EQ(target.at(x, y, c),
                          reference::cornerAligned(samples, width, height, x, y));
              }
            }
          }
          EXPECT_TRUE(target.isIntactAround());
        }
      }
    }
  }
  EXPECT_EQ(resize_Cubic1(), 0u);
}

// Every tool, given an image that is missing, too small or has too few channels, does nothing.
TEST(SimpleTools, DoNothingWithImagesThatDoNotFit) {
  Random random(6);
  SimplePicture colour(random, 8, 4, 3);
  SimplePicture plane(random, 8, 4, 1);
  SimplePicture samples(random, 8, 4, 1, 32);
  SimplePicture low(random, 24, 3, 1);
  SimplePicture narrow(random, 7, 9, 1);
  std::vector<std::uint8_t> bytes(32, 9);
  for (img* bad : {static_cast<img*>(nullptr), static_cast<img*>(low), static_cast<img*>(narrow)}) {
    for (const auto toOne : {to_gray, to_maxgray, img_lab}) {
      toOne(colour, bad);
      toOne(bad, plane);
    }
    img_subnorm(plane, bad, plane);
    img_subnorm(plane, samples, bad);
    img_subnorm3(plane, plane, bad, plane);
    img_subnorm2(plane, plane, plane, plane, bad, plane);
    img_or(plane, bad, plane);
    int2byte(bad, bytes.data());
    byte2int(bytes.data(), 0, bad);
  }
  img_lab(colour, plane);
  resize_a(nullptr, plane);
  resize_a(colour, nullptr);
  resize_a(colour, plane); // fewer channels than the source
  img_subnorm(nullptr, plane, plane);
  int2byte(samples, nullptr);
  byte2int(nullptr, 0, samples);
  samples->height = -1;
  byte2int(bytes.data(), 0, samples);
  samples->height = 4;
  samples->width = -8;
  byte2int(bytes.data(), 0, samples);
  for (SimplePicture* picture : {&colour, &plane, &samples, &low, &narrow}) {
    EXPECT_TRUE(picture->isUnchanged());
  }
  EXPECT_EQ(bytes, std::vector<std::uint8_t>(32, 9));
  EXPECT_EQ(resize_C1(nullptr, nullptr, plane), TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(resize_C1(nullptr, plane, nullptr), TLUX_ERR_INVALID_PARAM);
}

TEST(SimpleTools, ResizeOneChannelGoesToTheExportedResizer) {
  Random random(7);
  SimplePicture source(random, 31, 17, 1, 8, 2);
  SimplePicture a(random, 50, 11, 1, 8, 3);
  std::vector<std::uint8_t> b(50 * 11);
  EXPECT_EQ(resize_C1(nullptr, source, a), TLUX_OK);
  EXPECT_EQ(asfImageResize_BL_C1(source->data, 31, 17, 33, b.data(), 50, 11, 50), TLUX_OK);
  for (int y = 0; y < 11; ++y) {
    EXPECT_TRUE(std::equal(a->rows[y], a->rows[y] + 50, b.begin() + 50 * y));
  }
  EXPECT_TRUE(a.isIntactAround());
  a->width = 0;
  EXPECT_EQ(resize_C1(nullptr, source, a), TLUX_ERR_INVALID_PARAM);
}

} // namespace
} // namespace tlux::test

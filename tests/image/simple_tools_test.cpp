#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "image/lab_tables.hpp"
#include "reference/simple_tools.hpp"
#include "support/frame.hpp"
#include "support/simple_image.hpp"
#include "tlux/resize.h"

namespace tlux::test {
namespace {

using namespace detail;

// Sizes around the run length of the kernels, and single pixels.
constexpr std::pair<int, int> kSizes[] = {{1, 1}, {7, 3}, {255, 2}, {256, 2}, {259, 3}, {600, 1}};

Bytes topLeft(const img* image, int rowBytes, int rows) {
  return mapPixels(rowBytes, rows, [&](int x, int y) { return image->rows[y][x]; });
}

const struct Conversion {
  void (*convert)(const img*, img*);
  int channels; // of the output
  Bytes (*formula)(int b, int g, int r);
} kConversions[] = {
    {to_gray, 1, [](int b, int g, int r) { return Bytes{reference::gray(b, g, r)}; }},
    {to_maxgray, 1,
     [](int b, int g, int r) {
       return Bytes{static_cast<std::uint8_t>(std::max({b, g, r}))};
     }},
    {img_lab, 3,
     [](int b, int g, int r) {
       const reference::Lab lab = reference::lab(b, g, r);
       return Bytes{lab.l, lab.a, lab.b};
     }},
};

// Into a larger image and in place.
TEST(SimpleTools, ConvertColoursPixelByPixel) {
  Random random(1);
  for (const auto& [convert, outputs, formula] : kConversions) {
    for (const int channels : {3, 4, 5}) {
      for (const auto& [width, height] : kSizes) {
        TestImage source(random, width, height, channels, 8, 3);
        TestImage target(random, width + 1, height + 1, outputs, 8, 2);
        TestImage same(width, height, channels, source.given());
        Bytes expected;
        forEachPixel(width, height, [&, f = formula](int x, int y) {
          const Bytes pixel = f(source.at(x, y, 0), source.at(x, y, 1), source.at(x, y, 2));
          expected.insert(expected.end(), pixel.begin(), pixel.end());
        });
        convert(source, target);
        convert(same, same);
        EXPECT_EQ(topLeft(target, outputs * width, height), expected);
        EXPECT_EQ(topLeft(same, outputs * width, height), expected);
        EXPECT_EQ(target.at(width, height - 1), target.was(width, height - 1));
        EXPECT_TRUE(source.isUnchanged());
        EXPECT_TRUE(target.isIntact());
      }
    }
  }
}

// Every colour there is, so that the division by 100 is seen at every value.
TEST(SimpleTools, GrayIsExactForEveryColour) {
  TestImage source(256, 256, 3, 8);
  TestImage gray(256, 256, 1, 8);
  for (int b = 0; b < 256; ++b) {
    forEachPixel(256, 256, [&](int r, int g) {
      const std::uint8_t pixel[] = {static_cast<std::uint8_t>(b), static_cast<std::uint8_t>(g),
                                    static_cast<std::uint8_t>(r)};
      std::copy_n(pixel, 3, source->rows[g] + 3 * r);
    });
    to_gray(source, gray);
    ASSERT_TRUE(gray.pixels() ==
                mapPixels(256, 256, [&](int r, int g) { return reference::gray(b, g, r); }))
        << b;
  }
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
    TestImage a(random, width, height, 1, 8, 3);
    TestImage b(random, width, height, 1);
    TestImage c(random, width, height, 1, 8, 1);
    TestImage d(random, width + 2, height + 1, 1);
    TestImage e(random, width, height, 1, 8, 5);
    TestImage out(random, width, height, 1, 8, 2);
    Bytes mask = b.given(); // with many zeros
    std::ranges::replace_if(
        mask, [](std::uint8_t v) { return v % 2 == 0; }, 0);
    b.setPixels(mask);
    const auto expectEverywhere = [&, w = width, h = height](auto&& formula) {
      ASSERT_EQ(out.pixels(), mapPixels(w, h, [&](int x, int y) {
                  return static_cast<std::uint8_t>(formula(x, y));
                }));
      EXPECT_TRUE(out.isIntact());
    };
    const auto differsFrom = [&](std::initializer_list<const TestImage*> others) {
      expectEverywhere([&](int x, int y) {
        int largest = 0;
        for (const TestImage* other : others)
          largest = std::max(largest, std::abs(a.at(x, y) - other->at(x, y)));
        return largest;
      });
    };
    img_subnorm3(a, b, c, out);
    differsFrom({&b, &c});
    img_subnorm2(a, b, c, d, e, out);
    differsFrom({&b, &c, &d, &e});
    img_or(b, b, out);
    expectEverywhere([&](int x, int y) { return b.at(x, y) != 0 ? 255 : 0; });
    img_or(b, c, out);
    expectEverywhere([&](int x, int y) { return b.at(x, y) != 0 || c.at(x, y) != 0 ? 255 : 0; });
    img_subnorm(a, b, out);
    differsFrom({&b});
    EXPECT_TRUE(a.isUnchanged());
    // In place.
    img_subnorm3(a, b, b, b);
    EXPECT_EQ(b.pixels(), out.pixels());
    b.setPixels(mask);
    img_subnorm(a, b, a);
    EXPECT_EQ(a.pixels(), out.pixels());
  }
}

TEST(SimpleTools, NarrowAndWidenSamplesOnAnyAddress) {
  Random random(4);
  for (const auto& [width, height] : kSizes) {
    TestImage samples(random, width, height, 1, 32, 3);
    TestImage widened(random, width, height, 1, 32, 1);
    GuardedBuffer bytes(width * height);
    int2byte(samples, bytes.data());
    byte2int(bytes.data(), -1, widened);
    forEachPixel(width, height, [&, w = width](int x, int y) {
      std::uint32_t words[2] = {};
      std::memcpy(&words[0], samples->rows[y] + 4 * x, 4);
      std::memcpy(&words[1], widened->rows[y] + 4 * x, 4);
      ASSERT_EQ(bytes.data()[y * w + x], words[0] & 255);
      ASSERT_EQ(words[1], words[0] & 255);
    });
    EXPECT_TRUE(samples.isUnchanged());
    EXPECT_TRUE(widened.isIntact());
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
          TestImage source(random, sourceWidth, sourceHeight, channels, 8, 3);
          TestImage target(random, width, height, channels, 8, 2);
          resize(source, target);
          ASSERT_EQ(target.pixels(),
                    mapPixels(channels * width, height, [&, w = width, h = height](int at, int y) {
                      const reference::Channel samples{source->data + at % channels, source->width,
                                                       source->height, source->stride, channels};
                      return reference::cornerAligned(samples, w, h, at / channels, y);
                    }));
          EXPECT_TRUE(target.isIntact());
        }
      }
    }
  }
  EXPECT_EQ(resize_Cubic1(), 0u);
}

TEST(SimpleTools, ResizeOneChannelGoesToTheExportedResizer) {
  Random random(7);
  TestImage source(random, 31, 17, 1, 8, 2);
  TestImage a(random, 50, 11, 1, 8, 3);
  Bytes b(50 * 11);
  EXPECT_EQ(resize_C1(nullptr, source, a), TLUX_OK);
  EXPECT_EQ(asfImageResize_BL_C1(source->data, 31, 17, 33, b.data(), 50, 11, 50), TLUX_OK);
  EXPECT_EQ(a.pixels(), b);
  EXPECT_TRUE(a.isIntact());
  a->width = 0;
  EXPECT_EQ(resize_C1(nullptr, source, a), TLUX_ERR_INVALID_PARAM);
  for (const auto resize : {resize_a, resize_bgr})
    resize(source, a);
  EXPECT_TRUE(a.isIntact());
}

} // namespace
} // namespace tlux::test

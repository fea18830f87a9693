#include <gtest/gtest.h>

#include <vector>

#include "support/components.hpp"
#include "support/null_arguments.hpp"
#include "support/simple_image.hpp"
#include "tlux/fast_guided_filter.h"
#include "tlux/upscale.h"

namespace tlux::test {
namespace {

TEST(UpscaleLine, IsTheLineOfTheToneCore) {
  Random random(1);
  for (const int lowWidth : {1, 2, 7, 64, 65, 200}) {
    const auto low = static_cast<std::size_t>(lowWidth);
    GuardedBuffer upper(low);
    GuardedBuffer lower(low);
    random.fill(upper.bytes());
    random.fill(lower.bytes());
    const std::vector<std::int32_t> wideUpper(upper.data(), upper.data() + low);
    const std::vector<std::int32_t> wideLower(lower.data(), lower.data() + low);
    std::vector<std::int32_t> lines(24 * low);
    for (int phase = 0; phase < 8; ++phase) {
      const auto& row = phase == 0 ? wideUpper : wideLower;
      UPSampleLine8Int(phase, 8 * lowWidth, row.data(), lines.data());
      GuardedBuffer line(8 * low);
      ASSERT_EQ(TLUX_UpscaleCalLine8s(upper.data(), lower.data(), lowWidth, phase, line.data()),
                TLUX_OK);
      ASSERT_TRUE(line.isIntact());
      ASSERT_TRUE(std::equal(line.bytes().begin(), line.bytes().end(), lines.begin()));
    }
  }
}

struct Crop {
  int lowWidth, lowHeight, left, top, width, height;
};

constexpr Crop kCrops[] = {{1, 1, 0, 0, 8, 8},    {1, 1, 5, 7, 3, 1},      {5, 3, 0, 0, 40, 24},
                           {5, 3, 9, 4, 31, 20},  {5, 3, 39, 23, 1, 1},    {90, 2, 3, 1, 700, 15},
                           {6, 5, 12, 10, 14, 9}, {90, 2, 511, 15, 10, 1}, {3, 7, 1, 33, 22, 23}};

TEST(UpscaleCrop, CutsPlanesOutOfTheEnlargement) {
  Random random(2);
  for (const Crop& c : kCrops) {
    TestImage low(random, c.lowWidth, c.lowHeight, 1, 8, 2);
    TestImage target(c.width, c.height, 1, 8, 3);
    ASSERT_EQ(UpcaleCropGray(low->data, c.lowWidth, c.lowHeight, low->stride, c.left, c.top,
                             target->data, c.width, c.height, target->stride),
              TLUX_OK);
    EXPECT_TRUE(target.isIntact());
    const reference::Channel in{low->data, c.lowWidth, c.lowHeight, low->stride};
    EXPECT_EQ(
        target.pixels(), mapPixels(c.width, c.height, [&](int x, int y) {
          return static_cast<std::uint8_t>(reference::enlargedByEight(in, c.left + x, c.top + y));
        }));
  }
}

TEST(UpscaleCrop, CutsImagesOutOfTheEnlargement) {
  Random random(3);
  for (const std::uint32_t format : kCopied) {
    if (format >= TLUX_FMT_YCBYCR_5 && format <= TLUX_FMT_YCBYCR_8) continue;
    for (const Crop& c : kCrops) {
      Frame in = randomFrame(random, format, c.lowWidth, c.lowHeight, 3);
      Frame out = randomFrame(random, format, c.width, c.height, 3);
      const Frame expected =
          mapped(in, out,
                 [&](const reference::Channel& channel, const FrameChannel& target, int x, int y) {
                   return reference::enlargedByEight(channel, (c.left >> target.shiftX) + x,
                                                     (c.top >> target.shiftY) + y);
                 });
      ASSERT_EQ(UpcaleCropImage(in.get(), c.left, c.top, out.get()), TLUX_OK);
      ASSERT_TRUE(out == expected) << std::hex << format;
    }
  }
}

TEST(UpscaleCrop, RefusesBadArguments) {
  std::uint8_t low[4] = {};
  std::uint8_t out[64] = {};
  expectRefusesEachNull(TLUX_UpscaleCalLine8s, low, low, 2, 0, out);
  for (const auto& [width, phase] : {std::pair{0, 0}, {1 << 28, 0}, {2, 8}, {2, -1}}) {
    EXPECT_EQ(TLUX_UpscaleCalLine8s(low, low, width, phase, out), TLUX_ERR_INVALID_PARAM);
  }
  struct Case {
    std::uint8_t* low;
    int stride, left, top;
    std::uint8_t* out;
    int width, height, outStride;
  };
  for (const Case& c : {Case{nullptr, 2, 0, 0, out, 4, 4, 4},
                        {low, 1, 0, 0, out, 4, 4, 4},
                        {low, 2, -1, 0, out, 4, 4, 4},
                        {low, 2, 13, 0, out, 4, 4, 4},
                        {low, 2, 0, 13, out, 4, 4, 4},
                        {low, 2, 2147483647, 0, out, 4, 4, 4},
                        {low, 2, 0, 0, nullptr, 4, 4, 4},
                        {low, 2, 0, 0, out, 0, 4, 4},
                        {low, 2, 0, 0, out, 4, 4, 3}}) {
    EXPECT_EQ(
        UpcaleCropGray(c.low, 2, 2, c.stride, c.left, c.top, c.out, c.width, c.height, c.outStride),
        TLUX_ERR_INVALID_PARAM);
    const TLUX_IMAGE in{TLUX_FMT_GRAY, 2, 2, {c.low}, {c.stride}};
    TLUX_IMAGE image{TLUX_FMT_GRAY, c.width, c.height, {c.out}, {c.outStride}};
    EXPECT_EQ(UpcaleCropImage(&in, c.left, c.top, &image), TLUX_ERR_INVALID_PARAM);
  }
  EXPECT_EQ(UpcaleCropImage(nullptr, 0, 0, nullptr), TLUX_ERR_INVALID_PARAM);
}

} // namespace
} // namespace tlux::test

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
  const TLUX_IMAGE in{TLUX_FMT_GRAY, 2, 2, {low}, {2}};
  TLUX_IMAGE image{TLUX_FMT_GRAY, 4, 4, {out}, {4}};
  expectRefusesEachNull(UpcaleCropImage, &in, 0, 0, &image);
}

} // namespace
} // namespace tlux::test

#include <gtest/gtest.h>

#include <vector>

#include "support/components.hpp"
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

} // namespace
} // namespace tlux::test

#include <gtest/gtest.h>

#include <numeric>

#include "reference/gain_lines.hpp"
#include "support/frame.hpp"
#include "tlux/gain_lines.h"

namespace tlux::test {
namespace {

using Gains = std::vector<std::uint16_t>;

// Gains g at brightness 2048 turn into unity at 4096, along a line that is exact in Q11.
TEST(GainLine, RollsOffInHighlights) {
  Gains mapping(65536);
  std::iota(mapping.begin(), mapping.end(), std::uint16_t{0});
  const int stride = 3;
  for (const int shift : {0, 2, 4, 31}) {
    for (const std::uint16_t g : {0, 300, 1024, 4000, 65535}) {
      for (const std::uint32_t bright : {0, 2047, 2048, 2049, 3000, 4095, 4096, 16380, 65535}) {
        const Gains gains(2, g);
        const Gains brightness = {static_cast<std::uint16_t>(bright), 0, 0,
                                  static_cast<std::uint16_t>(bright)};
        Gains lines(3 * 8);
        AME_TonemapExposure_Line(0, 0, 8, lines.data(), brightness.data(), gains.data(),
                                 mapping.data(), shift, stride);
        const std::uint32_t t = bright >> shift;
        const std::uint32_t rolled = ((t << 10) - 2097152u + g * (4096u - t)) >> 11;
        const auto expected = t > 2048 ? static_cast<std::uint16_t>(rolled) : g;
        EXPECT_EQ(Gains(lines.begin(), lines.begin() + 8), Gains(8, expected)) << shift << " " << g;
        EXPECT_TRUE(t != 4096 || expected == 1024);
      }
    }
  }
}

} // namespace
} // namespace tlux::test

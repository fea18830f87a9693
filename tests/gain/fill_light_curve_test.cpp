#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "reference/retinex.hpp"
#include "tlux/gain_lines.h"

namespace tlux::test {
namespace {

constexpr std::uint16_t kBefore = 0xBEEF;

std::vector<std::uint16_t> curveOf(std::int64_t strength, std::int64_t unity) {
  std::vector<std::uint16_t> curve(65536, kBefore);
  AME_GenerateFillLighrGainLUT(curve.data(), strength, unity);
  return curve;
}

TEST(FillLightCurve, MatchesTheFormula) {
  constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
  for (const std::int64_t strength :
       {std::int64_t{1}, std::int64_t{2}, std::int64_t{30}, std::int64_t{50}, std::int64_t{100},
        std::int64_t{155}, std::int64_t{157}, std::int64_t{400}, std::int64_t{30000},
        std::int64_t{4294967295}, kMax}) {
    for (const std::int64_t unity : {1024, 1, 0, 65535, 1 << 20, -5}) {
      EXPECT_EQ(curveOf(strength, unity), reference::fillLightCurve(strength, unity, kBefore))
          << strength << " " << unity;
    }
  }
}

TEST(FillLightCurve, IsFlatWithoutStrength) {
  for (const std::int64_t strength :
       {std::int64_t{0}, std::int64_t{-7}, std::numeric_limits<std::int64_t>::min()}) {
    EXPECT_EQ(curveOf(strength, 1024), std::vector<std::uint16_t>(65536, 1024));
    EXPECT_EQ(curveOf(strength, 65537), std::vector<std::uint16_t>(65536, 1));
  }
  AME_GenerateFillLighrGainLUT(nullptr, 50, 1024);
}

} // namespace
} // namespace tlux::test

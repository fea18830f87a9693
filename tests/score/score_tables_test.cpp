#include "score/score_tables.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace tlux::test {
namespace {

using namespace detail;

// Also that no logarithm is so near to an integer that another way to compute it might differ.
TEST(ScoreTables, HoldTheTruncatedFunctions) {
  double nearest = 1;
  for (int v = 0; v < kLinearLevels; ++v) {
    const double exact = std::log(v + 30) * 1024.0;
    nearest = std::min(nearest, std::abs(exact - std::round(exact)));
    ASSERT_EQ(kLogTable[static_cast<std::size_t>(v)], static_cast<int>(exact)) << v;
  }
  EXPECT_GT(nearest, 1e-5);
  for (int v = 0; v < kEnergyLevels; ++v) {
    ASSERT_EQ(kDeviationTable[static_cast<std::size_t>(v)],
              static_cast<int>(std::sqrt((v + 64) * 1024.0)));
  }
  for (int d = 1; d < kDeviationLevels; ++d) {
    ASSERT_EQ(kReciprocalTable[static_cast<std::size_t>(d)], 524288u / static_cast<unsigned>(d));
  }
}

} // namespace
} // namespace tlux::test

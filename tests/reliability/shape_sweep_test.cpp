#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "reliability/plane_members.hpp"
#include "support/effort.hpp"
#include "support/random.hpp"
#include "support/widths.hpp"

namespace tlux::test {
namespace {

constexpr int kSmall = 40;
constexpr int kWidths[] = {640, 1920, 4032};

int roundedUp(int value, int unit) {
  return (value + unit - 1) / unit * unit;
}

// Noise in which every third sample is 0, from an endless supply.
void fillWithNoise(std::span<std::uint8_t> row) {
  static const auto kSupply = [] {
    Random random(1);
    std::vector<std::uint8_t> supply;
    for (int i = 0; i < 1 << 20; ++i) {
      const std::uint32_t bits = random.bits();
      supply.push_back(static_cast<std::uint8_t>(bits % 3 == 0 ? 0 : bits >> 8));
    }
    return supply;
  }();
  static std::size_t next = 0;
  next = (next + 4099) % (kSupply.size() - row.size());
  std::copy_n(kSupply.data() + next, row.size(), row.data());
}

class ShapeSweep : public testing::TestWithParam<PlaneMember> {
 protected:
  // Calls until one fails, and reports the shape of that call.
  static void check(Size size, Gaps gaps) {
    if (HasFatalFailure()) return;
    SCOPED_TRACE(testing::Message() << size.width << "x" << size.height << " gaps " << gaps.input
                                    << "," << gaps.output);
    // Both sides in turn, of wide and of high planes.
    const bool isBehind = (size.width + size.height + gaps.input) % 2 == 0;
    ASSERT_TRUE(followsItsFormula(GetParam(), size, gaps,
                                  isBehind ? Guard::kBehind : Guard::kBefore, fillWithNoise));
  }
};

INSTANTIATE_TEST_SUITE_P(All, ShapeSweep, testing::ValuesIn(planeMembers()),
                         [](const auto& member) { return member.param.name; });

// Gaps that change from shape to shape also make planes start at any offset.
TEST_P(ShapeSweep, EverySmallShape) {
  const int step = kIsFast ? 1 : 3;
  int shape = 0;
  for (int height = 1; height <= kSmall; height += step) {
    for (int width = 1; width <= kSmall; width += step) {
      check({width, height}, {shape % 3, shape % 5});
      ++shape;
    }
  }
}

// Widths of every remainder. With gaps of up to 15 bytes, planes of two rows start at every offset.
TEST_P(ShapeSweep, EveryRemainderPitchAndOffset) {
  const int step = kIsFast ? 1 : 5;
  for (const int near : kWidths) {
    for (int width = near - 8; width < near + 8; width += step) {
      for (int gap = width % step; gap < 16; gap += 3 * step)
        check({width, 2}, {gap, 15 - gap});
      check({width, 3}, {roundedUp(width, 4) - width, roundedUp(width, 64) - width});
    }
  }
}

TEST_P(ShapeSweep, EveryEndOfAPiece) {
  for (const int width : pieceWidths())
    check({width, 3}, {width % 3, 1 + width % 4});
}

} // namespace
} // namespace tlux::test

#include <gtest/gtest.h>

#include "enhance/gray_frame.hpp"
#include "tlux/histogram_match.h"

namespace tlux::test {
namespace {

using reference::Levels;

Bytes tableFor(Frame& target, Frame& source) {
  Bytes table(256, 0xEE);
  EXPECT_EQ(TLUX_GetMatchTable(nullptr, target.get(), source.get(), table.data()), TLUX_OK);
  return table;
}

TEST(MatchTable, SpreadsABlackSourceOverTheFirstLevels) {
  Frame black = grayFrame(Bytes(100, 0), 10, 10, 10);
  Frame target = grayFrame(Bytes(100, 90), 10, 10, 10);
  const Bytes table = tableFor(target, black);
  // Source deciles 0 0 1 2 … 8 255, target deciles 0 90 91 … 98 255; slope 1 through (4, 94).
  const int expected[] = {90, 91, 92, 93, 94, 95, 96, 97, 98, 98, 99};
  for (std::size_t x = 0; x < std::size(expected); ++x) {
    EXPECT_EQ(table[x], expected[x]) << x;
  }
}

TEST(AdjustImageByTable, AnswersOneInEveryCase) {
  Frame image = grayFrame(Bytes(16, 5), 4, 4, 4);
  const Bytes table(256, 9);
  TLUX_IMAGE none = image.image();
  EXPECT_EQ(TLUX_AdjustImageByTable(nullptr, table.data()), 1u);
  EXPECT_EQ(TLUX_AdjustImageByTable(image.get(), nullptr), 1u);
  for (const auto& [width, height] : {std::pair{4, 0}, {0, 4}, {-4, 4}, {4, -1}}) {
    none.width = width;
    none.height = height;
    EXPECT_EQ(TLUX_AdjustImageByTable(&none, table.data()), 1u);
  }
  EXPECT_EQ(image.bytes(0), Bytes(16, 5));
  none = {TLUX_FMT_GRAY, 4, 4, {}, {}};
  EXPECT_EQ(TLUX_AdjustImageByTable(&none, table.data()), 1u);
}

} // namespace
} // namespace tlux::test

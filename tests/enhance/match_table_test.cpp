#include <gtest/gtest.h>

#include "enhance/gray_frame.hpp"
#include "support/null_arguments.hpp"
#include "tlux/histogram_match.h"

namespace tlux::test {
namespace {

using reference::Levels;

Bytes tableFor(Frame& target, Frame& source) {
  Bytes table(256, 0xEE);
  EXPECT_EQ(TLUX_GetMatchTable(nullptr, target.get(), source.get(), table.data()), TLUX_OK);
  return table;
}

TEST(MatchTable, EqualsTheFormulaForHistogramsOfAllShapes) {
  Random random(1);
  int dark = 0;
  int bright = 0;
  for (int i = 0; i < 4000; ++i) {
    const int width = random.intBetween(1, 40);
    const int height = random.intBetween(1, 10);
    const int high = i % 4 == 0 ? 6 : 255; // every fourth source is nearly black
    const Bytes source = randomSamples(width, height, random, 0, high);
    const Bytes target = randomSamples(width, height, random);
    Frame sourceImage = grayFrame(source, width, height, width + i % 3);
    Frame targetImage = grayFrame(target, width, height, width + i % 2);
    const auto count = [&](const Bytes& samples) {
      return reference::countLevels(samples, width, height, 0, 0, width, height);
    };
    const auto s = reference::deciles(count(source), width * height);
    const auto d = reference::deciles(count(target), width * height);
    dark += d[1] > s[1] && s[1] < s[2] ? 1 : 0;
    bright += d[9] < s[9] && s[9] > s[8] ? 1 : 0;
    ASSERT_EQ(tableFor(targetImage, sourceImage), reference::matchTable(s, d)) << i;
  }
  EXPECT_GT(dark, 500);
  EXPECT_GT(bright, 500);
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

TEST(MatchTable, LeavesTheTableOnAnError) {
  Frame image = grayFrame(Bytes(64, 7), 8, 8, 8);
  Bytes table(256, 3);
  TLUX_IMAGE noPlane = image.image();
  noPlane.plane[0] = nullptr;
  expectRefusesEachNull(TLUX_GetMatchTable, nullptr, image.get(), image.get(), table.data());
  EXPECT_EQ(TLUX_GetMatchTable(nullptr, image.get(), &noPlane, table.data()),
            TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(TLUX_GetMatchTable(nullptr, &noPlane, image.get(), table.data()),
            TLUX_ERR_INVALID_PARAM);
  EXPECT_EQ(table, Bytes(256, 3));
}

TEST(AdjustImageByTable, ReplacesSamplesAndNothingElse) {
  Random random(4);
  Bytes table(256);
  random.fill(std::span(table));
  for (int width = 1; width <= 40; ++width) {
    const Bytes samples = randomSamples(width, 3, random);
    Frame image = grayFrame(samples, width, 3, width + width % 4);
    EXPECT_EQ(TLUX_AdjustImageByTable(image.get(), table.data()), 1u);
    forEachPixel(image->pitch[0], 3, [&](int x, int y) {
      ASSERT_EQ(image.row(0, y)[x], x < width ? table[samples[y * width + x]] : Frame::kBlank);
    });
  }
}

TEST(AdjustImageByTable, AnswersOneInEveryCase) {
  Frame image = grayFrame(Bytes(16, 5), 4, 4, 4);
  const Bytes table(256, 9);
  TLUX_IMAGE none = image.image();
  expectEachNullAnswers(1, TLUX_AdjustImageByTable, image.get(), table.data());
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

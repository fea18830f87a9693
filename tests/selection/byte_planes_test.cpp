#include <gtest/gtest.h>

#include <vector>

#include "reference/loops.hpp"
#include "support/random.hpp"
#include "tlux/statistics.h"

namespace tlux::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

// The rule for one pixel after the other, with the neighbours in a list.
Bytes despeckled(const Bytes& source, int width, int height, std::int64_t level) {
  Bytes out = source;
  int replaced = 0;
  for (int y = 2; y < height - 2; ++y) {
    for (int x = 2; x < width - 2; ++x) {
      const auto at = [&](int dx, int dy) { return source[(y + dy) * width + x + dx]; };
      const int c = at(0, 0);
      if (c < level + 40) continue;
      const int neighbours[8] = {at(-1, -1), at(1, -1), at(-1, 1), at(1, 1),
                                 at(-1, 0),  at(1, 0),  at(0, -1), at(0, 1)};
      int min = 255;
      int max = 0;
      int count = 0;
      for (const int n : neighbours) {
        min = std::min(min, n);
        max = std::max(max, n);
        count += n - c < -80 ? 1 : 0;
      }
      if ((count >= 2 && count <= 6) || min - max < -100 || (min <= 191 && max >= 250)) {
        out[y * width + x] = static_cast<std::uint8_t>(min);
        ++replaced;
      }
    }
  }
  return 50 * replaced < width * height ? source : out;
}

// Specks of differing number on a dark ground: below 2 % nothing changes, above everything does.
TEST(ReduceBlock, ReplacesSpecksOrNothing) {
  Random random(1);
  int kept = 0;
  int changed = 0;
  for (const auto& [width, height] : {std::pair{5, 5}, {4, 9}, {9, 4}, {37, 21}, {200, 40}}) {
    for (const int rarity : {2, 10, 30, 60, 400}) {
      for (const std::int64_t level : {-1000ll, 0ll, 60ll, 215ll, 216ll, 1ll << 62, -1ll << 63}) {
        Bytes source(width * height);
        for (auto& v : source) {
          const bool isSpeck = random.bits() % static_cast<unsigned>(rarity) == 0;
          v = static_cast<std::uint8_t>(isSpeck ? random.intBetween(180, 255)
                                                : random.intBetween(60, 120));
        }
        Bytes actual(source.size());
        EXPECT_EQ(AME_ReduceBlock(source.data(), actual.data(), width, height, level), 0);
        // Levels out of the range of a byte are the same as just outside it.
        const auto expected =
            despeckled(source, width, height, std::clamp<std::int64_t>(level, -256, 256));
        EXPECT_EQ(actual, expected) << width << "x" << height << " " << rarity << " " << level;
        (actual == source ? kept : changed) += 1;
      }
    }
  }
  EXPECT_GT(kept, 20);
  EXPECT_GT(changed, 20);
}

TEST(ReduceBlock, FollowsTheRuleOnAnyContent) {
  Random random(2);
  for (const auto& [low, high] : {std::pair{0, 255}, {180, 255}, {250, 255}, {254, 259}}) {
    Bytes source; // in the last case black among white
    for (const int value : random.values<int>(64 * 48, low, high))
      source.push_back(static_cast<std::uint8_t>(value));
    for (const int level : {20, 215}) {
      Bytes actual(source.size());
      AME_ReduceBlock(source.data(), actual.data(), 64, 48, level);
      EXPECT_EQ(actual, despeckled(source, 64, 48, level));
    }
  }
}

TEST(ConvertTo8Bit, RepeatsTheBorder) {
  Random random(3);
  const Bytes table = random.values<std::uint8_t>(256);
  for (const auto& [width, height] : {std::pair{1, 1}, {1, 4}, {5, 1}, {7, 3}}) {
    const auto source = random.values<std::int64_t>(width * height, 0, 255);
    Bytes actual((width + 2) * (height + 2));
    EXPECT_EQ(AME_ConvertTo8Bit(actual.data(), source.data(), width, height, table.data()), 0);
    EXPECT_EQ(actual,
              reference::mapPixels(width + 2, height + 2, [&, w = width, h = height](int x, int y) {
                const int sx = std::clamp(x - 1, 0, w - 1);
                const int sy = std::clamp(y - 1, 0, h - 1);
                return table[source[sy * w + sx]];
              }));
  }
}

} // namespace
} // namespace tlux::test

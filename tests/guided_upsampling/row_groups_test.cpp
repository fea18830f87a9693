#include "guided_upsampling/row_groups.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "reference/guided_filter_fast.hpp"
#include "support/guarded_buffer.hpp"
#include "support/random.hpp"

namespace tlux::test {
namespace {

using namespace detail;

using Samples = std::vector<std::int32_t>;

constexpr int kRows = 3; // of coefficients

struct Maps {
  int width;
  Samples a;
  Samples b;
};

enum class Content { kRandom, kLimits, kSmooth };

Maps mapsOf(int width, Content content, Random& random) {
  Maps maps{width, {}, {}};
  const auto sample = [&](std::int32_t limit, int i) {
    if (content == Content::kRandom) return random.intBetween(-limit - 1, limit);
    if (content == Content::kLimits) return random.intBetween(0, 1) == 0 ? -limit - 1 : limit;
    return limit / 16 + 3 * (i % width) + random.intBetween(0, 40);
  };
  for (int i = 0; i < width * kRows; ++i) {
    maps.a.push_back(sample(kLargestShortA, i));
    maps.b.push_back(sample(kLargestShortB, i));
  }
  return maps;
}

std::uint8_t lumaAt(const Maps& maps, int x, int y, std::uint8_t guide) {
  const std::int64_t a = reference::enlarged(maps.a.data(), maps.width, kRows - 1, x, y);
  const std::int64_t b = reference::enlarged(maps.b.data(), maps.width, kRows - 1, x, y);
  return static_cast<std::uint8_t>(std::clamp<std::int64_t>((a * guide + b) >> 10, 0, 255));
}

// A frame of these columns and rows, in tiles, in place or not; planes end where memory ends.
template <class Groups>
void expectTheFormula(const Maps& maps, int columns, int rows, bool isInPlace, Random& random) {
  constexpr int kTile = 512;
  const int pitch = columns + 3;
  GuardedBuffer guide(static_cast<std::size_t>((rows - 1) * pitch + columns));
  random.fill(guide.bytes());
  const std::vector<std::uint8_t> before(guide.bytes().begin(), guide.bytes().end());
  GuardedBuffer apart(guide.size());
  GuardedBuffer& out = isInPlace ? guide : apart;

  std::vector<typename Groups::Sample> scratch(
      static_cast<std::size_t>(Groups::scratchSamples(maps.width)));
  Groups groups({maps.a.data(), maps.b.data(), maps.width}, scratch.data());
  groups.start(0);
  for (int y = 0; y < rows; y += 8) {
    groups.advance(std::min(y / 8 + 1, kRows - 1));
    for (int x = 0; x < columns; x += kTile) {
      const GroupPart part = {x, std::min(x + kTile, columns), std::min(rows - y, 8)};
      groups.makeLuma(part, {guide.data() + y * pitch + x, pitch},
                      {out.data() + y * pitch + x, pitch});
    }
  }
  EXPECT_TRUE(guide.isIntact() && apart.isIntact());
  for (int y = 0; y < rows; ++y) {
    for (int x = 0; x < columns; ++x) {
      const auto at = static_cast<std::size_t>(y * pitch + x);
      ASSERT_EQ(out.data()[at], lumaAt(maps, x, y, before[at]))
          << x << ',' << y << " of " << columns << 'x' << rows;
    }
  }
}

TEST(RowGroups, AreTheFormula) {
  Random random(61);
  for (const int width : {8, 9, 15, 16, 17, 31, 64, 65, 130}) {
    for (const Content content : {Content::kRandom, Content::kLimits, Content::kSmooth}) {
      const Maps maps = mapsOf(width, content, random);
      const int columns = 8 * width - 2 * (width % 4); // the last cell may be cut
      const int rows = 8 * kRows - (width % 3) * 3;
      expectTheFormula<ShortGroups>(maps, columns, rows, width % 2 == 0, random);
      expectTheFormula<LongGroups>(maps, columns, rows, width % 2 == 0, random);
    }
  }
}

} // namespace
} // namespace tlux::test

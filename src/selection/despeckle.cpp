#include <algorithm>
#include <array>

#include "base/plane.hpp"
#include "tlux/platform.h"
#include "tlux/statistics.h"

namespace tlux::detail {
namespace {

constexpr int kAboveLevel = 40; // how far a speck stands out of the level
constexpr int kMuchDarker = 80; // neighbours further below the centre than this count
constexpr int kWideSpan = 100;  // neighbours further apart than this are an edge of the speck
constexpr int kNotBright = 191;
constexpr int kGlaring = 250;
constexpr int kSmallestShare = 50; // at least 1 / 50 of the pixels must change

// Columns first..end − 1 of one row; returns how many were replaced.
std::int64_t despeckleRow(const std::uint8_t* __restrict above, const std::uint8_t* __restrict row,
                          const std::uint8_t* __restrict below, std::int64_t first,
                          std::int64_t end, std::uint8_t threshold, std::uint8_t* __restrict out) {
  std::uint32_t replaced = 0;
  for (std::int64_t x = first; x < end; ++x) {
    const std::uint8_t centre = row[x];
    const std::array neighbours = {above[x - 1], above[x],     above[x + 1], row[x - 1],
                                   row[x + 1],   below[x - 1], below[x],     below[x + 1]};
    std::uint8_t low = 255;
    std::uint8_t high = 0;
    std::uint8_t darker = 0;
    for (const std::uint8_t neighbour : neighbours) {
      low = neighbour < low ? neighbour : low;
      high = neighbour > high ? neighbour : high;
      darker = static_cast<std::uint8_t>(darker + (centre - neighbour > kMuchDarker));
    }
    // Bit operations instead of short-circuit conditions, so the loop has no branch.
    const unsigned isSome = unsigned{darker >= 2} & unsigned{darker <= 6};
    const unsigned isEdge = unsigned{high - low > kWideSpan};
    const unsigned isGlare = unsigned{low <= kNotBright} & unsigned{high >= kGlaring};
    const unsigned isSpeck = unsigned{centre >= threshold} & (isSome | isEdge | isGlare);
    out[x] = isSpeck != 0 ? low : centre;
    replaced += isSpeck;
  }
  return replaced;
}

// The two outermost rows and columns are only read.
void despeckle(const std::uint8_t* source, std::uint8_t* destination, std::int64_t width,
               std::int64_t height, std::int64_t level) {
  const auto copy = [=] {
    MMemCpy(destination, source, static_cast<std::uint64_t>(width * height));
  };
  copy();
  if (width <= 4 || height <= 4 || level > 255 - kAboveLevel) return;
  const auto threshold =
      static_cast<std::uint8_t>(std::max<std::int64_t>(level, -kAboveLevel) + kAboveLevel);
  std::int64_t replaced = 0;
  for (std::int64_t y = 2; y < height - 2; ++y) {
    const std::uint8_t* row = source + y * width;
    replaced += despeckleRow(row - width, row, row + width, 2, width - 2, threshold,
                             destination + y * width);
  }
  if (kSmallestShare * replaced < width * height) copy();
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

int32_t AME_ReduceBlock(const uint8_t* source, uint8_t* destination, int64_t width, int64_t height,
                        int64_t level) noexcept {
  if (source == nullptr || destination == nullptr || width < 1 || height < 1) return 0;
  despeckle(source, destination, width, height, level);
  return 0;
}

#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "reference/labels.hpp"
#include "support/guarded_buffer.hpp"
#include "support/random.hpp"

namespace tlux::test {

using reference::MaskGrid;

// Any value but 0 is set; `density` in thousandths.
inline MaskGrid randomMask(Random& random, int width, int height, int density) {
  MaskGrid mask{width, height};
  for (std::uint8_t& pixel : mask.values) {
    const bool set = random.intBetween(0, 999) < density;
    pixel = set ? static_cast<std::uint8_t>(random.intBetween(1, 255)) : std::uint8_t{0};
  }
  return mask;
}

template <class IsSet>
MaskGrid drawMask(int width, int height, IsSet&& isSet) {
  MaskGrid mask{width, height};
  reference::forEachPixel(width, height,
                          [&](int x, int y) { mask.at(x, y) = isSet(x, y) ? 128 : 0; });
  return mask;
}

// A mask in a plane with padded rows, from either end.
template <class T>
class PaddedGrid {
 public:
  explicit PaddedGrid(const reference::Grid<T>& grid, int padding = 5, bool isBottomUp = false)
      : grid_(grid), rows_(sizeof(T) * grid.width, grid.height, sizeof(T) * padding, isBottomUp) {
    rows_.set(bytesOf(grid));
  }

  T* data() const { return reinterpret_cast<T*>(rows_.data()); }
  std::int32_t pitch() const { return rows_.pitch(); }
  std::uint32_t width() const { return grid_.width; }
  std::uint32_t height() const { return grid_.height; }

  // Whether it holds this, and nothing was written beside it.
  bool holds(const reference::Grid<T>& expected) {
    return std::ranges::equal(rows_.samples(), bytesOf(expected)) && rows_.isIntact();
  }

 private:
  static std::span<const std::uint8_t> bytesOf(const reference::Grid<T>& grid) {
    return {reinterpret_cast<const std::uint8_t*>(grid.values.data()),
            sizeof(T) * grid.values.size()};
  }

  reference::Grid<T> grid_;
  GuardedRows rows_;
};
using PaddedMask = PaddedGrid<std::uint8_t>;

// A line one pixel wide that winds inward with one clear pixel between its turns.
inline MaskGrid spiral(int width, int height) {
  MaskGrid mask{width, height};
  int x = 0;
  int y = 0;
  int dx = 1;
  int dy = 0;
  const auto isFree = [&](int column, int row) {
    return mask.holds(column, row) && mask.at(column, row) == 0 &&
           mask.atOrZero(column + dx, row + dy) == 0;
  };
  for (int turns = 0; turns < 2;) {
    mask.at(x, y) = 128;
    if (isFree(x + dx, y + dy)) {
      x += dx;
      y += dy;
      turns = 0;
    } else {
      const int oldDx = dx;
      dx = -dy;
      dy = oldDx;
      ++turns;
    }
  }
  return mask;
}

// Shapes whose runs meet late, early, never, or only at corners.
inline std::vector<MaskGrid> shapedMasks(int width, int height) {
  return {
      drawMask(width, height, [](int, int) { return false; }),
      drawMask(width, height, [](int, int) { return true; }),
      drawMask(width, height, [](int x, int y) { return (x + y) % 2 == 0; }),
      drawMask(width, height, [](int x, int y) { return (x + y) % 2 == 1; }),
      drawMask(width, height, [](int x, int y) { return x % 2 == 0 && y % 2 == 0; }),
      // Combs that are joined by their last or their first row, and nested hooks of both.
      drawMask(width, height, [=](int x, int y) { return x % 2 == 0 || y == height - 1; }),
      drawMask(width, height, [](int x, int y) { return x % 2 == 0 || y == 0; }),
      drawMask(width, height, [=](int x, int y) { return x % 2 == 0 && y >= height - 1 - x; }),
      drawMask(width, height,
               [=](int x, int y) { return x % 2 == 0 || y == (x % 4 == 1 ? 0 : height - 1); }),
      // Diagonals and zigzags.
      drawMask(width, height, [](int x, int y) { return (x + y) % 4 == 0; }),
      drawMask(width, height, [](int x, int y) { return (x - y + 4000) % 3 == 0; }),
      drawMask(width, height,
               [](int x, int y) { return (x % 6 < 3 ? x : 6 - x % 6) % 6 == y % 4; }),
      // Rings inside each other.
      drawMask(width, height,
               [=](int x, int y) {
                 const int dx = x < width - 1 - x ? x : width - 1 - x;
                 const int dy = y < height - 1 - y ? y : height - 1 - y;
                 return (dx < dy ? dx : dy) % 2 == 0;
               }),
      spiral(width, height),
  };
}

} // namespace tlux::test

#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "reference/loops.hpp"

// Regions of masks by their definitions: flood fill from pixel to pixel.
namespace tlux::reference {

template <class T>
struct Grid {
  int width = 0;
  int height = 0;
  std::vector<T> values = std::vector<T>(static_cast<std::size_t>(width) * height);

  bool holds(int x, int y) const { return x >= 0 && x < width && y >= 0 && y < height; }
  T& at(int x, int y) { return values[static_cast<std::size_t>(y) * width + x]; }
  const T& at(int x, int y) const { return values[static_cast<std::size_t>(y) * width + x]; }
  T* row(int y) { return values.data() + std::ptrdiff_t{y} * width; }
  const T* row(int y) const { return values.data() + std::ptrdiff_t{y} * width; }
  // Zero beyond the grid.
  T atOrZero(int x, int y) const { return holds(x, y) ? at(x, y) : T{0}; }
};

using MaskGrid = Grid<std::uint8_t>;
using LabelGrid = Grid<std::uint32_t>;

// Calls visit(x, y) for the four or eight neighbours.
template <class Visit>
void forNeighbours(int x, int y, int connectivity, Visit&& visit) {
  forEachIn(-1, -1, 2, 2, [&](int dx, int dy) {
    const int steps = (dx != 0) + (dy != 0);
    if (steps == 1 || (steps == 2 && connectivity == 8)) visit(x + dx, y + dy);
  });
}

struct Labelling {
  LabelGrid labels;
  std::uint32_t count = 0;
};

inline Labelling floodLabels(const MaskGrid& mask, int connectivity) {
  Labelling result{{mask.width, mask.height}};
  std::vector<std::pair<int, int>> open;
  const auto reach = [&](int x, int y) {
    if (mask.atOrZero(x, y) == 0 || result.labels.at(x, y) != 0) return;
    result.labels.at(x, y) = result.count;
    open.emplace_back(x, y);
  };
  forEachPixel(mask.width, mask.height, [&](int x, int y) {
    if (mask.at(x, y) == 0 || result.labels.at(x, y) != 0) return;
    ++result.count;
    reach(x, y);
    while (!open.empty()) {
      const auto [fromX, fromY] = open.back();
      open.pop_back();
      forNeighbours(fromX, fromY, connectivity, reach);
    }
  });
  return result;
}

// The pixels of one label, in raster order.
inline std::vector<std::pair<int, int>> pixelsOf(const LabelGrid& labels, std::uint32_t label) {
  std::vector<std::pair<int, int>> pixels;
  forEachPixel(labels.width, labels.height, [&](int x, int y) {
    if (labels.at(x, y) == label) pixels.emplace_back(x, y);
  });
  return pixels;
}

inline std::uint32_t removeSmall(MaskGrid& mask, int connectivity, std::uint32_t minimumArea) {
  const Labelling regions = floodLabels(mask, connectivity);
  std::vector<std::uint32_t> areas(regions.count + 1);
  for (const std::uint32_t label : regions.labels.values) {
    ++areas[label];
  }
  std::uint32_t removed = 0;
  for (std::size_t i = 0; i < mask.values.size(); ++i) {
    const std::uint32_t label = regions.labels.values[i];
    if (label == 0 || areas[label] >= minimumArea) continue;
    mask.values[i] = 0;
    ++removed;
  }
  return removed;
}

// Clear pixels that cannot be reached through clear pixels from outside the mask are in a hole.
inline std::uint32_t fillHoles(MaskGrid& mask, int connectivity) {
  MaskGrid framed{mask.width + 2, mask.height + 2};
  forEachPixel(framed.width, framed.height,
               [&](int x, int y) { framed.at(x, y) = mask.atOrZero(x - 1, y - 1) == 0 ? 1 : 0; });
  const Labelling clear = floodLabels(framed, connectivity == 8 ? 4 : 8);
  std::uint32_t filled = 0;
  forEachPixel(mask.width, mask.height, [&](int x, int y) {
    if (clear.labels.at(x + 1, y + 1) <= 1) return; // 1 is the surroundings of the mask
    mask.at(x, y) = 255;
    ++filled;
  });
  return filled;
}

inline MaskGrid boundary(const MaskGrid& mask, int connectivity) {
  MaskGrid marks{mask.width, mask.height};
  forEachPixel(mask.width, mask.height, [&](int x, int y) {
    forNeighbours(x, y, connectivity, [&](int nextX, int nextY) {
      if (mask.at(x, y) != 0 && mask.atOrZero(nextX, nextY) == 0) marks.at(x, y) = 255;
    });
  });
  return marks;
}

} // namespace tlux::reference

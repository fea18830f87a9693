#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "reference/chroma.hpp"
#include "reference/map.hpp"

// Gains per pixel and their effect on a pixel, each from its formula.
namespace tlux::reference {

// The gain of pixel (x, y): mapped coarse gains one per step × step pixels, interpolated along the
// row first, then between the coarse rows, truncated each time. `coarse` maps (column, row).
template <class Coarse>
int gainAt(int x, int y, int step, int columns, int rows, Coarse&& coarse) {
  const auto along = [&](int row) {
    const int r = std::min(row, rows - 1);
    const int k = std::min(x / step, columns - 1);
    if (k == columns - 1) return static_cast<int>(coarse(k, r));
    const int part = x % step;
    return static_cast<int>((coarse(k, r) * (step - part) + coarse(k + 1, r) * part) / step);
  };
  const int part = y % step;
  if (part == 0) return along(y / step);
  return (along(y / step) * (step - part) + along(y / step + 1) * part) / step;
}

inline std::uint8_t tonedChroma(int c, int oldSum, int newSum) {
  const int ratio = chromaRatio(oldSum, newSum);
  const int d = std::abs(c - 128);
  int result = ((c - 128) * ratio >> 10) + 128;
  if (d <= 31 && c <= 127) result = (c * (32 - d) + result * d) / 32;
  return static_cast<std::uint8_t>(std::clamp(result, 0, 255));
}

} // namespace tlux::reference

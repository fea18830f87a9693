#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "tlux/transfer.h"

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

inline std::uint8_t tonedLuma(std::uint8_t luma, int gain) {
  const auto encode = [](std::int64_t product) {
    const auto wrapped = static_cast<std::int32_t>(static_cast<std::uint64_t>(product));
    return TLUX_Gamma_Table8[std::clamp(wrapped >> 10, 0, 4095)];
  };
  if (gain >= 1024) return encode(std::int64_t{TLUX_Degamma_Table[luma]} * gain);
  const int reciprocal = gain == 0 ? 0 : 1048576 / gain;
  return static_cast<std::uint8_t>(
      255 - encode(std::int64_t{TLUX_Degamma_Table[255 - luma]} * reciprocal));
}

inline std::uint8_t tonedChroma(int c, int oldSum, int newSum) {
  const int ratio = oldSum == 0 ? 1024 : newSum * 1024 / oldSum;
  const int d = std::abs(c - 128);
  int result = ((c - 128) * ratio >> 10) + 128;
  if (d <= 31 && c <= 127) result = (c * (32 - d) + result * d) / 32;
  return static_cast<std::uint8_t>(std::clamp(result, 0, 255));
}

} // namespace tlux::reference

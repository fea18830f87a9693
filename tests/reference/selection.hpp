#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "reference/loops.hpp"

namespace tlux::reference {

// Fraction of an octave to six decimals, from the definition.
inline double roundedLog2(int k) {
  return std::round(std::log2(1.0 + k / 255.0) * 1e6) / 1e6;
}

inline double exposureValue(double ratio) {
  bool negative = false;
  double q = ratio;
  if (ratio < 0.0625) {
    q = 16;
    negative = true;
  } else if (ratio > 16) {
    q = 16;
  } else if (ratio < 1) {
    q = 1 / ratio;
    negative = true;
  }
  const int octave = q >= 8 ? 3 : (q >= 4 ? 2 : (q >= 2 ? 1 : 0));
  const double mantissa = q / (1 << octave);
  const double ev = octave + roundedLog2(static_cast<int>((mantissa - 1) * 255 + 0.5));
  return negative ? -ev : ev;
}

// EVs in the usual range only.
inline int selectionIndex(double ev, int levels, double minimum, double middle, double maximum) {
  const int half = levels / 2;
  const auto m = static_cast<std::int32_t>(middle * 65536);
  const auto below = static_cast<std::int32_t>((middle - minimum) / half * 65536);
  const auto above = static_cast<std::int32_t>((maximum - middle) / half * 65536);
  const std::int32_t x = static_cast<std::int32_t>(ev * 65536) - m;
  int index = 127;
  if (x >= 0) {
    if (above > 0) index += (2 * x + above) / (2 * above);
    return index >= levels ? levels - 1 : index;
  }
  if (below > 0) index += (2 * x - below) / (2 * below);
  return index < 0 ? 0 : index;
}

inline std::vector<std::uint8_t> smoothSelection(const std::vector<std::uint8_t>& map, int width,
                                                 int height) {
  constexpr std::uint32_t kKernel[] = {35, 155, 256, 155, 35};
  return mapPixels(width, height, [&](int x, int y) {
    std::uint32_t sum = 0;
    std::uint32_t weight = 0;
    forEachIn(std::max(x - 2, 0), std::max(y - 2, 0), std::min(x + 3, width),
              std::min(y + 3, height), [&](int u, int v) {
                const std::uint32_t k = kKernel[u - x + 2] * kKernel[v - y + 2];
                sum += k * map[v * width + u];
                weight += k;
              });
    return static_cast<std::uint8_t>((weight + 2 * sum) / (2 * weight));
  });
}

} // namespace tlux::reference

#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "reference/labels.hpp"
#include "reference/loops.hpp"

// Erosion and dilation by definition. Distances are city-block steps, at most 255.
namespace tlux::reference {

// The distance of each pixel to the nearest set, or clear, pixel. With `rim`, the pixels around the
// mask count as targets too.
inline MaskGrid distancesTo(bool targetIsSet, bool rim, const MaskGrid& mask) {
  std::vector<std::pair<int, int>> targets;
  forEachPixel(mask.width, mask.height, [&](int x, int y) {
    if ((mask.at(x, y) != 0) == targetIsSet) targets.emplace_back(x, y);
  });
  MaskGrid distances{mask.width, mask.height};
  forEachPixel(mask.width, mask.height, [&](int x, int y) {
    int best = rim ? std::min({255, x + 1, y + 1, mask.width - x, mask.height - y}) : 255;
    for (const auto& [u, v] : targets)
      best = std::min(best, std::abs(u - x) + std::abs(v - y));
    distances.at(x, y) = static_cast<std::uint8_t>(best);
  });
  return distances;
}

// Pixels within the radius of a target become `near`, the rest `far`; `changed` counts those that
// were not targets themselves.
inline MaskGrid thresholded(const MaskGrid& distances, int radius, std::uint8_t near,
                            std::uint8_t far, std::uint32_t& changed) {
  MaskGrid mask = distances;
  changed = 0;
  for (std::uint8_t& pixel : mask.values) {
    if (pixel > 0 && pixel <= radius) ++changed;
    pixel = pixel > radius ? far : near;
  }
  return mask;
}

} // namespace tlux::reference

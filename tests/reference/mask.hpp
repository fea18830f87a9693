#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "reference/loops.hpp"

// Masks here are rows end to end. Distances are city-block steps, 255 for all from 255 on.
namespace tlux::reference {

struct Mask {
  int width;
  int height;
  std::vector<std::uint8_t> pixels;

  std::uint8_t& at(int x, int y) { return pixels[static_cast<std::size_t>(y * width + x)]; }
  std::uint8_t at(int x, int y) const { return pixels[static_cast<std::size_t>(y * width + x)]; }
};

// Turns distances into the result; returns the number of pixels 1 to `radius` steps away.
inline std::uint32_t thresholdMask(Mask& distances, int radius, std::uint8_t near,
                                   std::uint8_t far) {
  std::uint32_t changed = 0;
  for (std::uint8_t& pixel : distances.pixels) {
    if (pixel > 0 && pixel <= radius) ++changed;
    pixel = pixel > radius ? far : near;
  }
  return changed;
}

inline std::uint8_t stepFrom(std::uint8_t neighbour) {
  return neighbour < 254 ? static_cast<std::uint8_t>(neighbour + 1) : std::uint8_t{255};
}

inline void lower(std::uint8_t& pixel, int candidate) {
  if (candidate < pixel) pixel = static_cast<std::uint8_t>(candidate);
}

// The two raster passes, step by step.
inline std::uint32_t erodeByPasses(Mask& mask, int radius) {
  const int x1 = mask.width - 1;
  const int y1 = mask.height - 1;
  const auto toRim = [&](int x, int y) { mask.at(x, y) = mask.at(x, y) != 0 ? 1 : 0; };
  for (int x = 0; x <= x1; ++x) {
    toRim(x, 0);
  }
  for (int y = 1; y <= y1; ++y) {
    toRim(0, y);
    for (int x = 1; x <= x1; ++x) {
      if (mask.at(x, y) == 0) continue;
      mask.at(x, y) = stepFrom(mask.at(x - 1, y));
      lower(mask.at(x, y), mask.at(x, y - 1) + 1);
    }
  }
  for (int x = x1; x >= 0; --x) {
    toRim(x, y1);
  }
  for (int y = y1 - 1; y >= 0; --y) {
    toRim(x1, y);
    for (int x = x1 - 1; x >= 0; --x) {
      lower(mask.at(x, y), mask.at(x + 1, y) + 1);
      lower(mask.at(x, y), mask.at(x, y + 1) + 1);
    }
  }
  return thresholdMask(mask, radius, 0, 255);
}

inline std::uint32_t dilateByPasses(Mask& mask, int radius) {
  const int x1 = mask.width - 1;
  const int y1 = mask.height - 1;
  for (int y = 0; y <= y1; ++y) {
    for (int x = 0; x <= x1; ++x) {
      if (mask.at(x, y) != 0) {
        mask.at(x, y) = 0;
        continue;
      }
      mask.at(x, y) = 255;
      if (x > 0)
        mask.at(x, y) = stepFrom(mask.at(x - 1, y));
      else if (y > 0)
        mask.at(x, y) = stepFrom(mask.at(x, y - 1));
      if (y > 0) lower(mask.at(x, y), mask.at(x, y - 1) + 1);
    }
  }
  for (int y = y1; y >= 0; --y) {
    for (int x = x1; x >= 0; --x) {
      if (x < x1) lower(mask.at(x, y), mask.at(x + 1, y) + 1);
      if (y < y1) lower(mask.at(x, y), mask.at(x, y + 1) + 1);
    }
  }
  return thresholdMask(mask, radius, 255, 0);
}

// By definition: the nearest of all targets. `rim` makes the pixels around the mask targets too.
inline Mask bruteDistances(const Mask& mask, bool targetIsSet, bool rim) {
  Mask distances = mask;
  forEachPixel(mask.width, mask.height, [&](int x, int y) {
    int best = 255;
    if (rim) best = std::min({best, x + 1, y + 1, mask.width - x, mask.height - y});
    forEachPixel(mask.width, mask.height, [&](int u, int v) {
      if ((mask.at(u, v) != 0) == targetIsSet)
        best = std::min(best, std::abs(u - x) + std::abs(v - y));
    });
    distances.at(x, y) = static_cast<std::uint8_t>(best);
  });
  return distances;
}

} // namespace tlux::reference

#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "reference/loops.hpp"

// Planes here have rows without gaps.
namespace tlux::reference {

using Bytes = std::vector<std::uint8_t>;
using Levels = std::array<std::uint32_t, 256>;

// Samples of columns [x0, x1) and rows [y0, y1), clipped to the plane.
inline Levels countLevels(const Bytes& plane, int width, int height, int x0, int y0, int x1,
                          int y1) {
  Levels counts{};
  forEachIn(x0, y0, std::min(x1, width), std::min(y1, height),
            [&](int x, int y) { ++counts[plane[y * width + x]]; });
  return counts;
}

inline Levels equalizationTable(const Levels& counts, int pixels) {
  Levels table{};
  std::uint32_t running = 0;
  for (std::size_t i = 0; i < 256; ++i) {
    running += counts[i];
    table[i] = static_cast<std::uint32_t>(static_cast<double>(running) / pixels * 255.0);
  }
  return table;
}

inline Bytes equalizeTiles(const Bytes& plane, int width, int height) {
  const int tilesX = (width + 15) / 16;
  const int tilesY = (height + 15) / 16;
  const int count = tilesX * tilesY;
  std::vector<Levels> tables;
  for (int t = 0; t < count; ++t) {
    const int x0 = t % tilesX * 16;
    const int y0 = t / tilesX * 16;
    const int pixels = std::min(width - x0, 16) * std::min(height - y0, 16);
    tables.push_back(
        equalizationTable(countLevels(plane, width, height, x0, y0, x0 + 16, y0 + 16), pixels));
  }
  Bytes out(plane.size());
  for (int t = 0; t < count; ++t) {
    const Levels& own = tables[t];
    const Levels& left = t != 0 ? tables[t - 1] : own;
    const Levels& right = t < count - 1 ? tables[t + 1] : own;
    const Levels& upper = t >= tilesX ? tables[t - tilesX] : own;
    const Levels& lower = t < count - 1 - tilesX ? tables[t + tilesX] : own;
    const int x0 = t % tilesX * 16;
    const int y0 = t / tilesX * 16;
    const int tw = std::min(width - x0, 16);
    const int th = std::min(height - y0, 16);
    forEachPixel(tw, th, [&](int c, int r) {
      const int at = (y0 + r) * width + x0 + c;
      const std::uint8_t v = plane[at];
      const double h = static_cast<int>(right[v]) * c + static_cast<int>(left[v]) * (tw - c);
      const double s = static_cast<int>(lower[v]) * r + static_cast<int>(upper[v]) * (th - r);
      const double blended = (own[v] + h / tw + s / th) / 3.0;
      out[at] = static_cast<std::uint8_t>(static_cast<std::uint32_t>(blended));
    });
  }
  return out;
}

// Decile levels of a histogram, for shares counted in `pixels`.
inline std::array<int, 11> deciles(const Levels& counts, std::int64_t pixels) {
  std::array<int, 11> knots{};
  knots[10] = 255;
  std::int64_t sum = 0;
  for (std::size_t k = 1; k <= 9; ++k) {
    int level = k == 1 ? 0 : knots[k - 1] + 1;
    for (; level < 256; ++level) {
      sum += counts[static_cast<std::size_t>(level)];
      if (sum >= static_cast<std::int64_t>(k) * pixels / 10) break;
    }
    knots[k] = std::min(level, 255);
  }
  return knots;
}

inline Bytes matchTable(const std::array<int, 11>& s, const std::array<int, 11>& d) {
  Bytes table(256);
  const auto put = [&](int x, int value) {
    table[static_cast<std::size_t>(x)] = static_cast<std::uint8_t>(std::clamp(value, 0, 255));
  };
  for (std::size_t i = 0; i < 10; ++i) {
    for (int x = s[i]; x < s[i + 1]; ++x) {
      put(x, d[i] + (x - s[i]) * (d[i + 1] - d[i]) / (s[i + 1] - s[i]));
    }
  }
  put(255, 255);
  if (d[1] > s[1] && s[1] < s[2]) {
    if (s[2] > 3) {
      for (int x = 0; x < s[1]; ++x) {
        put(x, d[1] + (s[1] - x) * (d[2] - d[1]) / (s[1] - s[2]));
      }
    } else {
      std::size_t k = 4;
      for (std::size_t i = 9; i >= 3; --i) {
        if (s[i] > 3) k = i;
      }
      const int left = s[k] - s[k - 1];
      const int right = s[k + 1] - s[k];
      const int m = right * (d[k] - d[k - 1]) + left * (d[k + 1] - d[k]);
      for (int x = 0; x < s[k]; ++x) {
        put(x, d[k] - (left * right == 0 ? 0 : (s[k] - x) * m / (2 * left * right)));
      }
    }
  }
  if (d[9] < s[9] && s[9] > s[8]) {
    const int left = s[9] - s[8];
    const int right = 255 - s[9];
    const int m = right * (d[9] - d[8]) + left * (255 - d[9]);
    for (int x = s[9]; x < 255; ++x) {
      put(x, d[9] + (x - s[9]) * m / (2 * left * right));
    }
  }
  return table;
}

} // namespace tlux::reference

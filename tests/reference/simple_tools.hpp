#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "reference/resize.hpp"

// The per-pixel tools and resizers, one pixel at a time.
namespace tlux::reference {

inline std::uint8_t gray(int b, int g, int r) {
  return static_cast<std::uint8_t>((11 * b + 59 * g + 30 * r) / 100);
}

// The companding curve of CIE L*a*b*.
inline double companded(double t) {
  return t > 0.008856 ? std::cbrt(t) : 7.787 * t + 16.0 / 116.0;
}

struct Lab {
  std::uint8_t l, a, b;
};

inline Lab lab(int b, int g, int r) {
  const auto curve = [](int i) {
    return static_cast<int>(std::floor(1024 * companded(i / 255.0) + 0.009));
  };
  const int fy = curve((37 * b + 366 * g + 109 * r + 256) >> 9);
  const int fz = curve((447 * b + 56 * g + 9 * r + 256) >> 9);
  const int fx = curve((194 * b + 385 * g + 445 * r + 512) >> 10);
  const double lightness = std::round((116.0 * fy / 1024 - 16) * 255 / 100);
  return {static_cast<std::uint8_t>(std::max(lightness, 0.0)),
          static_cast<std::uint8_t>((((fx - fy) * 125) >> 8) - 128),
          static_cast<std::uint8_t>((((fy - fz) * 25) >> 7) - 128)};
}

// Q8 positions from the top left corner, truncated.
inline std::uint8_t cornerAligned(const Channel& in, int width, int height, int i, int j) {
  const int fx = i * ((in.width << 8) / width);
  const int fy = j * ((in.height << 8) / height);
  const int x0 = fx >> 8;
  const int y0 = fy >> 8;
  const int wx1 = fx & 255;
  const int wy1 = fy & 255;
  const int right = in.at(x0 + 1, y0 + 1) * wy1 + in.at(x0 + 1, y0) * (256 - wy1);
  const int left = in.at(x0, y0 + 1) * wy1 + in.at(x0, y0) * (256 - wy1);
  return static_cast<std::uint8_t>((right * wx1 + left * (256 - wx1)) >> 16);
}

// Aligned pixel centres: the exact interpolated value.
inline double centreAligned(const Channel& in, int width, int height, int i, int j) {
  const double x = std::max((i + 0.5) * in.width / width - 0.5, 0.0);
  const double y = std::max((j + 0.5) * in.height / height - 0.5, 0.0);
  const int x0 = static_cast<int>(x);
  const int y0 = static_cast<int>(y);
  const double u = x - x0;
  const double v = y - y0;
  return (in.at(x0, y0) * (1 - u) + in.at(x0 + 1, y0) * u) * (1 - v) +
         (in.at(x0, y0 + 1) * (1 - u) + in.at(x0 + 1, y0 + 1) * u) * v;
}

} // namespace tlux::reference

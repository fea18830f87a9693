#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include "reference/loops.hpp"

namespace tlux::reference {

// The box blur as a plain formula: the 32-bit sum of the window times the rounded reciprocal of its
// area, saturated. `plane` is read and overwritten.
template <class Sample>
void boxBlur(std::vector<Sample>& plane, int width, int height, int pitch, std::int64_t radius) {
  const std::vector<Sample> source = plane;
  const auto d = static_cast<std::uint64_t>(2 * radius + 1);
  const auto k = static_cast<std::int64_t>((d * d + 0x20000) / (2 * d * d));
  const auto sample = [&](std::int64_t x, std::int64_t y) {
    x = std::clamp<std::int64_t>(x, 0, width - 1);
    y = std::clamp<std::int64_t>(y, 0, height - 1);
    return static_cast<std::uint32_t>(source[static_cast<std::size_t>(y * pitch + x)]);
  };
  forEachPixel(width, height, [&](int x, int y) {
    std::uint32_t sum = 0;
    for (std::int64_t j = -radius; k != 0 && j <= radius; ++j) {
      for (std::int64_t i = -radius; i <= radius; ++i)
        sum += sample(x + i, y + j);
    }
    const std::int64_t mean = (static_cast<std::int32_t>(sum) * k + 32768) >> 16;
    plane[std::ptrdiff_t{y} * pitch + x] = static_cast<Sample>(std::clamp<std::int64_t>(
        mean, std::numeric_limits<Sample>::min(), std::numeric_limits<Sample>::max()));
  });
}

} // namespace tlux::reference

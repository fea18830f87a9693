#pragma once

#include <cstdint>

#include "base/fixed_point.hpp"
#include "base/plane.hpp"

namespace tlux {

// Mean of the row means. rowSum(y) returns the wrapping 32-bit sum of row y; both divisions
// truncate toward zero. Passes that change every sample hand in the sum of what they wrote.
template <class RowSum>
std::int32_t meanOfRowMeans(std::int32_t width, std::int32_t height, RowSum&& rowSum) {
  if (width <= 0 || height <= 0) return 0;
  std::int32_t total = 0;
  for (std::int32_t y = 0; y < height; ++y) {
    total = wrappingAdd(total, rowSum(y) / width);
  }
  return total / height;
}

std::int32_t meanOf(Plane<const std::int16_t> plane);

struct MeanAndRange {
  std::int32_t mean;
  std::int32_t minimum; // 2000000000 when there is no sample
  std::int32_t maximum; // -2000000000 when there is no sample
};

MeanAndRange meanAndRangeOf(Plane<const std::int16_t> plane);

} // namespace tlux

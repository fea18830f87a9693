#pragma once

#include <cstdint>

#include "base/bands.hpp"
#include "base/plane.hpp"

namespace tlux::detail {

// Samples by which a row buffer is longer than its row: two at each end, which repeat the edge.
inline constexpr std::int32_t kRowPadding = 4;

// Samples of the scratch that smoothDoubleBlend() works in: six row buffers.
constexpr std::int64_t smoothDoubleScratch(std::int32_t smallWidth) {
  return 6 * (std::int64_t{smallWidth} + kRowPadding);
}

// output = enlargedWeight · (small, smoothed and doubled) + largeWeight · large, weights rounded to
// Q8. `large` and `output` have one size and may be the same plane; all planes are packed. Only
// `rows` are made; they do not depend on each other.
void smoothDoubleBlend(Plane<const std::int16_t> small, Plane<const std::int16_t> large,
                       Plane<std::int16_t> output, Band rows, std::int16_t* scratch,
                       double enlargedWeight, double largeWeight);

} // namespace tlux::detail

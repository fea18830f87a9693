#pragma once

#include <algorithm>
#include <cstdint>

#include "gain/linear_gain.hpp"

namespace tlux::detail {

// newSum / oldSum in Q10, truncated, for sums of a few 8-bit codes; 1024 when oldSum is 0. Exact in
// single precision: the dividend is below 2^24, so rounding moves the quotient by less than 1 /
// oldSum, the smallest distance to the next integer above it.
inline std::int32_t lumaRatio(std::int32_t newSum, std::int32_t oldSum) {
  const auto quotient = static_cast<std::int32_t>(static_cast<float>(newSum * 1024) /
                                                  static_cast<float>(std::max(oldSum, 1)));
  return oldSum == 0 ? 1024 : quotient;
}

// One row of luma and the chroma that goes with it.
struct ToneLine {
  std::uint8_t* luma;
  std::int64_t pixels;
  std::uint8_t* chroma; // interleaved pairs; may be null when there are none
  std::int64_t pairs;   // at most pixels / 2
};

// Applies one gain per pixel to the luma and scales the chroma accordingly.
void toneLine(const ToneLine& line, const std::uint16_t* gains, const TransferCurves& curves);

} // namespace tlux::detail

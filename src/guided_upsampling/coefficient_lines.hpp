// The fast guided filter (windows of 2r × 2r, edges repeated): rows of luma in 32 bits.
#pragma once

#include <cstddef>
#include <cstdint>

#include "guided_upsampling/upsample_line.hpp"

// The last step of the guided filter in 32 bits, for coefficients of any size: rows of luma from
// the low-resolution rows of coefficients above and below, with a and b taken phase/8 of the way
// from the upper to the lower,
//
//   out = clamp((a · guide + b) >> 10).
//
// row_group.hpp does the same in 16 bits where the coefficients allow it.
namespace tlux::detail {

// Coefficient rows, interpolated to full width.
struct CoefficientLines {
  const std::int32_t* upperA;
  const std::int32_t* lowerA;
  const std::int32_t* upperB;
  const std::int32_t* lowerB;
};

// Columns first … first + count − 1 of a row; guide and out point to column `first`. out may be
// guide.
void applyCoefficients(int phase, const CoefficientLines& lines, std::ptrdiff_t first,
                       std::ptrdiff_t count, const std::uint8_t* guide, std::uint8_t* out);

} // namespace tlux::detail

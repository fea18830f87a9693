// The fast guided filter (windows of 2r × 2r, edges repeated): rows of luma in 16 bits.
#pragma once

#include <cstddef>
#include <cstdint>

#include "guided_upsampling/upsample_line.hpp"
#include "platform/simd_level.hpp"

// The last step of the guided filter in 16-bit lanes. A group is the eight full-resolution rows
// from one row of coefficients to the next, a cell the eight columns from one sample to the next.
// Luma is made a cell or more at a time, all eight rows from one interpolation along x, with
// intermediate values in registers.
namespace tlux::detail {

// For coefficients from −largest − 1 to largest, as those of pictures are: slopes then differ by
// less than 2^15, and b / 2^10 by less than 2^15. The narrowest frames would not fill a vector.
inline constexpr std::int32_t kLargestShortA = (1 << 14) - 1;
inline constexpr std::int32_t kLargestShortB = (1 << 23) - 1;
inline constexpr std::int32_t kFewestShortCells = 8;

// A row of coefficients in the form that the kernels store.
struct CellRow {
  std::int16_t* memory; // samples() of it, aligned for 32-bit numbers
  std::ptrdiff_t cells;

  static constexpr std::int64_t samples(std::int64_t cells) { return 6 * cells; }
};

// Rows of luma, one below the other.
template <class Byte>
struct LumaRows {
  Byte* top;
  std::ptrdiff_t pitch;

  Byte* row(std::ptrdiff_t y) const { return top + y * pitch; }
  LumaRows from(std::ptrdiff_t column) const { return {top + column, pitch}; }
};

// The full-width line of coefficients at the top of a group: kept by the kernels from one group to
// the next, in an order of their own.
constexpr std::int64_t lineSamples(std::int64_t cells) {
  constexpr std::int64_t kCellsOfAVector = 8; // the most
  return 3 * kUpsampling * (cells + kCellsOfAVector - 1);
}

// Kernels read up to this many samples past the end of a CellRow and ignore their values.
inline constexpr std::int64_t kCellSlack = 7;

// A part of a group: columns first … end − 1, where first is a multiple of 64 and end is another or
// the last column, and the rows to be made, counted from the top.
struct GroupPart {
  std::ptrdiff_t first;
  std::ptrdiff_t end;
  int rows = kUpsampling;
};

struct RowGroupKernels {
  void (*splitCells)(const std::int32_t* a, const std::int32_t* b, const CellRow& row);
  void (*startLine)(const CellRow& row, std::int16_t* line);
  // On entry `line` holds, for these columns, the line above the group; on return the one below,
  // made from `lower`. guide and out begin with the first column; out may be guide.
  void (*makeLuma)(const CellRow& lower, const GroupPart& part, std::int16_t* line,
                   LumaRows<const std::uint8_t> guide, LumaRows<std::uint8_t> out);
};

} // namespace tlux::detail

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "reduce/sub_grid.hpp"

namespace tlux::detail {

// The source rows of one output row, each starting at its first sample.
using SourceRows = std::array<const std::uint8_t*, 3>;

// The most bytes of a row that one call of a kernel covers, and the most outputs that it makes; its
// sums stay in the nearest cache.
inline constexpr int kStretch = 1024;
// Bytes that a step may read from its start.
inline constexpr int kMaxReach = 64;

// Makes the outputs of a row in steps of one or two blocks.
struct RowKernel {
  // At least one step, at most longestStretch(). `second` receives the second component of
  // interleaved pairs and is unused otherwise. The outputs must not overlap the rows or each other.
  void (*reduce)(const SourceRows& rows, std::uint8_t* first, std::uint8_t* second,
                 std::ptrdiff_t steps);
  int outputs;     // per step
  int step;        // bytes of each row from one step to the next
  int reach;       // bytes of each row, from its start, that a step may read
  int sampleBytes; // 2 for interleaved pairs

  // Steps in one call. A reduction by less than 2 makes more chroma than it reads.
  int longestStretch() const { return kStretch / (step > outputs ? step : outputs); }
};

// Half columns: the first chroma sample of a row belongs to an even (0) or odd (1) luma column.
struct FactorKernels {
  RowKernel luma;
  std::array<RowKernel, 2> pairs;  // interleaved chroma
  std::array<RowKernel, 2> halves; // a chroma plane
};

// Widens chroma to twice its columns; reads one sample before `cb` and `cr`.
using Widen = void (*)(const std::uint8_t* cb, const std::uint8_t* cr, std::uint8_t* first,
                       std::uint8_t* second, std::ptrdiff_t pairs);

// Every loop over the samples of a row.
struct RowKernels {
  std::array<std::array<FactorKernels, kMaxFactor + 1>, 3> reduce; // [Sampling][factor]
  Widen widenPairs;                                                // cb and cr interleaved
  Widen widenPlanes;
  // Separates the even and the odd bytes of packed 4:2:2: luma, and chroma as interleaved pairs.
  void (*split)(const std::uint8_t* packed, std::uint8_t* luma, std::uint8_t* pairs,
                std::ptrdiff_t columns);

  const FactorKernels& of(Sampling sampling, int factor) const {
    return reduce[static_cast<std::size_t>(sampling)][static_cast<std::size_t>(factor)];
  }
};

const RowKernels& rowKernels();

} // namespace tlux::detail

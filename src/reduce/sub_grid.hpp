#pragma once

#include <array>
#include <cstdint>

#include "reduce/layout.hpp"
#include "reduce/mean.hpp"

namespace tlux::detail {

inline constexpr int kMaxFactor = 14;
// Used in place of a whole factor: the reduction by 4/3.
inline constexpr int kFourThirds = 0;

// Offsets of the samples of one output, in one direction.
struct Taps {
  int count;
  std::array<int, 4> at; // ascending

  constexpr int last() const { return at[static_cast<std::size_t>(count - 1)]; }
  constexpr bool hasSameShapeAs(const Taps& other) const {
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
      if (at[i] - at[0] != other.at[i] - other.at[0]) return false;
    }
    return count == other.count;
  }
};

// Which samples of a block form its outputs, and how.
struct SubGrid {
  int block;   // source rows and columns
  int outputs; // per block in each direction; more than one: output k starts k samples later
  Taps rows;
  Taps columns;
  Mean mean;

  constexpr std::int64_t position(std::int64_t output, int tap) const {
    return output / outputs * block + output % outputs + tap;
  }
  constexpr std::int64_t row(std::int64_t output, int tap) const {
    return position(output, rows.at[static_cast<std::size_t>(tap)]);
  }
  constexpr std::int64_t column(std::int64_t output, int tap) const {
    return position(output, columns.at[static_cast<std::size_t>(tap)]);
  }
};

constexpr SubGrid subGridOf(int factor) {
  const auto square = [factor](Taps taps, Mean mean) {
    return SubGrid{factor, 1, taps, taps, mean};
  };
  const int half = (factor - 1) / 2;
  const int third = (factor - 1) / 3;
  switch (factor) {
    case kFourThirds:
      return {4, 3, {2, {0, 1}}, {2, {0, 1}}, Mean::kQuarter};
    case 2:
      return square({2, {0, 1}}, Mean::kQuarter);
    case 3:
    case 4:
      return square({2, {0, 2}}, Mean::kQuarter);
    case 5:
    case 6:
      return square({3, {0, 2, 4}}, Mean::kNinth);
    case 7:
    case 8:
      return square({3, {0, 3, 6}}, Mean::kNinth);
    case 9:
    case 10:
      return square({3, {0, half, 2 * half}}, Mean::kNinth);
    default:
      return {factor,
              1,
              {3, {0, half, 2 * half}},
              {4, {0, third, 2 * third, 3 * third}},
              Mean::kTwelfth};
  }
}

// The sub-grids of a factor, both in luma positions. Chroma samples are at half the column, and in
// 4:2:0 also at half the row.
struct Reduction {
  SubGrid luma;
  SubGrid chroma;
};

constexpr Reduction reductionOf(Sampling sampling, int factor) {
  const SubGrid grid = subGridOf(factor);
  Reduction reduction{grid, grid};
  if (factor == 2) { // the columns of a block share one chroma sample, and so do the rows in 4:2:0
    reduction.chroma.columns = {1, {0}};
    reduction.chroma.mean = Mean::kHalf;
    if (sampling == Sampling::k420) {
      reduction.chroma.rows = {1, {0}};
      reduction.chroma.mean = Mean::kOne;
    }
  }
  if (factor == 3 && sampling == Sampling::kPacked422) {
    const SubGrid thirds{3, 1, {3, {0, 1, 2}}, {2, {0, 2}}, Mean::kThird};
    reduction = {thirds, thirds};
  }
  return reduction;
}

} // namespace tlux::detail

// The fast guided filter (windows of 2r × 2r, edges repeated): arithmetic of row groups in 32 bits.
#pragma once

#include "base/lanes.hpp"
#include "guided_upsampling/row_group.hpp"

// For processors with instructions for 32-bit products of 16-bit numbers and for the upper halves
// of sums: b stays in 32 bits.
namespace tlux::detail {
namespace {

// A row of coefficients, one element per cell. a' and b' belong to the next cell; the last cell is
// its own next.
struct SplitCells {
  std::int32_t* b;     // · 8
  std::int32_t* bStep; // b' − b
  std::int16_t* a;
  std::int16_t* aStep; // a' − a

  static SplitCells of(const CellRow& row) {
    std::int32_t* const b = reinterpret_cast<std::int32_t*>(row.memory);
    std::int16_t* const a = row.memory + 4 * row.cells;
    return {b, b + row.cells, a, a + row.cells};
  }
};

inline void splitSteps(const std::int32_t* __restrict a, const std::int32_t* __restrict b,
                       std::ptrdiff_t cells, std::int16_t* __restrict slope,
                       std::int16_t* __restrict slopeStep, std::int32_t* __restrict offset,
                       std::int32_t* __restrict offsetStep) {
  for (std::ptrdiff_t x = 0; x < cells; ++x) {
    slope[x] = static_cast<std::int16_t>(a[x]);
    slopeStep[x] = static_cast<std::int16_t>(a[x + 1] - a[x]);
    offset[x] = 8 * b[x];
    offsetStep[x] = b[x + 1] - b[x];
  }
}

inline void splitCells(const std::int32_t* a, const std::int32_t* b, const CellRow& to) {
  const SplitCells row = SplitCells::of(to);
  const std::ptrdiff_t last = to.cells - 1;
  splitSteps(a, b, last, row.a, row.aStep, row.b, row.bStep);
  row.a[last] = static_cast<std::int16_t>(a[last]);
  row.aStep[last] = 0;
  row.b[last] = 8 * b[last];
  row.bStep[last] = 0;
}

// Coefficients of a vector of columns.
struct Lines {
  Halves a;
  WideHalves b; // · 8
};

[[gnu::always_inline]] inline Lines linesAt(const SplitCells& row, std::ptrdiff_t cell) {
  constexpr int kWhole = ~7;
  const WideHalves b = ramps(row.b + cell, row.bStep + cell);
  return {eighths(row.a + cell, row.aStep + cell), {b.low & kWhole, b.high & kWhole}};
}

// How Lines are stored in memory.
inline constexpr std::ptrdiff_t kPart = kColumns / 2;

[[gnu::always_inline]] inline Lines loadLines(const std::int16_t* from) {
  return {{load<Shorts>(from), load<Shorts>(from + kPart)},
          {{load<Ints>(from + 2 * kPart), load<Ints>(from + 3 * kPart)},
           {load<Ints>(from + 4 * kPart), load<Ints>(from + 5 * kPart)}}};
}

[[gnu::always_inline]] inline void storeLines(std::int16_t* to, const Lines& lines) {
  store(to, lines.a.low);
  store(to + kPart, lines.a.high);
  store(to + 2 * kPart, lines.b.low.low);
  store(to + 3 * kPart, lines.b.low.high);
  store(to + 4 * kPart, lines.b.high.low);
  store(to + 5 * kPart, lines.b.high.high);
}

// Between two lines. a of row k is k/8 of the way from above to below, rounded down; each is
// half-way between two others, rounded down.
struct Slopes {
  Shorts above;
  Shorts quarter;
  Shorts middle;
  Shorts threeQuarters;
  Shorts below;
};

[[gnu::always_inline]] inline Slopes slopesBetween(Shorts above, Shorts below) {
  const Shorts middle = halfway(above, below);
  return {above, halfway(above, middle), middle, halfway(middle, below), below};
}

template <int kRow>
[[gnu::always_inline]] inline Shorts slopeOf(const Slopes& a) {
  static_assert(kRow >= 0 && kRow < kUpsampling);
  if constexpr (kRow == 0) return a.above;
  if constexpr (kRow == 1) return halfway(a.above, a.quarter);
  if constexpr (kRow == 2) return a.quarter;
  if constexpr (kRow == 3) return halfway(a.above, a.threeQuarters);
  if constexpr (kRow == 4) return a.middle;
  if constexpr (kRow == 5) return halfway(a.below, a.quarter);
  if constexpr (kRow == 6) return a.threeQuarters;
  if constexpr (kRow == 7) return halfway(a.below, a.threeQuarters);
}

struct Columns {
  Slopes low;
  Slopes high;
  WideHalves b; // of the next row, · 64
  WideHalves bStep;
};

[[gnu::always_inline]] inline Columns columnsBetween(const Lines& above, const Lines& below) {
  return {slopesBetween(above.a.low, below.a.low),
          slopesBetween(above.a.high, below.a.high),
          {above.b.low << 3, above.b.high << 3},
          below.b - above.b}; // an eighth of the step
}

// (a · guide + b) >> 10, which is (64 · a · guide + 64 · b) >> 16.
template <int kRow>
[[gnu::always_inline]] inline Bytes lumaOf(Columns& columns, Bytes guide) {
  const Halves codes = widenScaled<6>(guide);
  const Halves luma = {
      upperHalves(product(slopeOf<kRow>(columns.low), codes.low), columns.b.low),
      upperHalves(product(slopeOf<kRow>(columns.high), codes.high), columns.b.high)};
  columns.b = columns.b + columns.bStep;
  return narrow(luma);
}

} // namespace
} // namespace tlux::detail

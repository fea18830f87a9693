// The fast guided filter (windows of 2r × 2r, edges repeated): arithmetic of row groups in 16 bits.
#pragma once

#include "base/lanes.hpp"
#include "guided_upsampling/row_group.hpp"

// For processors that multiply 16-bit numbers and return either half of the products: everything
// stays in 16-bit lanes.
namespace tlux::detail {
namespace {

inline constexpr std::ptrdiff_t kHalfColumns = kColumns / 2;

// A row of coefficients, split into 16-bit parts, one element per cell. a' and b' belong to the
// next sample (the last one is its own next), and X = 8 · b is split into high · 2^13 + low:
struct SplitCells {
  std::int16_t* a;
  std::int16_t* aStep;      // a' − a
  std::int16_t* middleHigh; // X half-way, 4 · (b + b'); low 0 … 8191
  std::int16_t* middleLow;
  std::int16_t* stepHigh; // of X from column to column, b' − b; low −4096 … 4095
  std::int16_t* stepLow;

  static SplitCells of(const CellRow& row) {
    std::int16_t* const memory = row.memory;
    const std::ptrdiff_t cells = row.cells;
    return {memory,
            memory + cells,
            memory + 2 * cells,
            memory + 3 * cells,
            memory + 4 * cells,
            memory + 5 * cells};
  }
};

// Cells that have a next one.
inline void splitSteps(const std::int32_t* __restrict a, const std::int32_t* __restrict b,
                       std::ptrdiff_t cells, std::int16_t* __restrict slope,
                       std::int16_t* __restrict slopeStep, std::int16_t* __restrict middleHigh,
                       std::int16_t* __restrict middleLow, std::int16_t* __restrict stepHigh,
                       std::int16_t* __restrict stepLow) {
  for (std::ptrdiff_t x = 0; x < cells; ++x) {
    const std::int32_t middle = 4 * (b[x] + b[x + 1]);
    const std::int32_t step = b[x + 1] - b[x];
    const std::int32_t high = (step + 4096) >> 13;
    slope[x] = static_cast<std::int16_t>(a[x]);
    slopeStep[x] = static_cast<std::int16_t>(a[x + 1] - a[x]);
    middleHigh[x] = static_cast<std::int16_t>(middle >> 13);
    middleLow[x] = static_cast<std::int16_t>(middle & 8191);
    stepHigh[x] = static_cast<std::int16_t>(high);
    stepLow[x] = static_cast<std::int16_t>(step - high * 8192);
  }
}

inline void splitCells(const std::int32_t* a, const std::int32_t* b, const CellRow& to) {
  const SplitCells row = SplitCells::of(to);
  const std::ptrdiff_t last = to.cells - 1;
  splitSteps(a, b, last, row.a, row.aStep, row.middleHigh, row.middleLow, row.stepHigh,
             row.stepLow);
  row.a[last] = static_cast<std::int16_t>(a[last]);
  row.aStep[last] = 0;
  row.middleHigh[last] = static_cast<std::int16_t>(b[last] >> 10);
  row.middleLow[last] = static_cast<std::int16_t>((b[last] & 1023) * 8);
  row.stepHigh[last] = 0;
  row.stepLow[last] = 0;
}

// Coefficients of one half of a vector of columns; b = high · 2^10 + low, |low| < 2^12.
struct Line {
  Shorts a;
  Shorts high;
  Shorts low;
};

struct Lines {
  Line low;
  Line high;
};

// A step of k/8 to a later column or row is counted back from the next sample, since the upper half
// of a product with k · 2^13 is k/8 of a number only for −4 <= k < 4.
constexpr int eighthsFor(int phase) {
  return phase < kUpsampling / 2 ? phase : phase - kUpsampling;
}

constexpr std::int16_t scaleFor(int phase) {
  return static_cast<std::int16_t>(eighthsFor(phase) * (1 << 13));
}

// The line at the columns of cells. In 8 · b = high · 2^13 + low, low stays within 16 bits when
// counted from the middle of the cell.
[[gnu::always_inline]] inline Line interpolate(Shorts a, Shorts aStep, Shorts middleHigh,
                                               Shorts middleLow, Shorts stepHigh, Shorts stepLow) {
  constexpr EightShorts kScales = {{scaleFor(0), scaleFor(1), scaleFor(2), scaleFor(3), scaleFor(4),
                                    scaleFor(5), scaleFor(6), scaleFor(7)}};
  constexpr EightShorts kIsLater = {{0, 0, 0, 0, -1, -1, -1, -1}};
  constexpr EightShorts kFromMiddle = {{-4, -3, -2, -1, 0, 1, 2, 3}};
  const Shorts fromMiddle = repeated(kFromMiddle);
  return {a + (aStep & repeated(kIsLater)) + multiplyHigh(aStep, repeated(kScales)),
          middleHigh + stepHigh * fromMiddle, (middleLow + stepLow * fromMiddle) >> 3};
}

[[gnu::always_inline]] inline Lines linesAt(const SplitCells& row, std::ptrdiff_t cell) {
  const Halves a = spread(row.a + cell);
  const Halves aStep = spread(row.aStep + cell);
  const Halves middleHigh = spread(row.middleHigh + cell);
  const Halves middleLow = spread(row.middleLow + cell);
  const Halves stepHigh = spread(row.stepHigh + cell);
  const Halves stepLow = spread(row.stepLow + cell);
  return {interpolate(a.low, aStep.low, middleHigh.low, middleLow.low, stepHigh.low, stepLow.low),
          interpolate(a.high, aStep.high, middleHigh.high, middleLow.high, stepHigh.high,
                      stepLow.high)};
}

[[gnu::always_inline]] inline Line loadLine(const std::int16_t* from) {
  return {loadShorts(from), loadShorts(from + kHalfColumns), loadShorts(from + 2 * kHalfColumns)};
}

[[gnu::always_inline]] inline void storeLine(std::int16_t* to, const Line& line) {
  store(to, line.a);
  store(to + kHalfColumns, line.high);
  store(to + 2 * kHalfColumns, line.low);
}

[[gnu::always_inline]] inline void storeLines(std::int16_t* to, const Lines& lines) {
  storeLine(to, lines.low);
  storeLine(to + 3 * kHalfColumns, lines.high);
}

[[gnu::always_inline]] inline Lines loadLines(const std::int16_t* from) {
  return {loadLine(from), loadLine(from + 3 * kHalfColumns)};
}

// Moves down the rows of a group: a between two lines, and X = 8 · b = high · 2^13 + low, which
// grows by stepHigh and stepLow from row to row. In row k, low is at most |k − 4| · 2^12 outside 0
// … 8191, so 8 · 1023 can be added to it.
struct Column {
  Shorts above;
  Shorts below;
  Shorts aStep;
  Shorts high;
  Shorts low;
  Shorts stepHigh;
  Shorts stepLow;
};

[[gnu::always_inline]] inline Column columnBetween(const Line& above, const Line& below) {
  Column column;
  column.above = above.a;
  column.below = below.a;
  column.aStep = below.a - above.a;
  // The step d = high · 2^10 + low: its lowest 13 bits with their sign, and the rest.
  const Shorts high = below.high - above.high;
  const Shorts low = below.low - above.low;
  column.stepLow = ((high << 13) + (low << 3)) >> 3;
  column.stepHigh = (high + (low >> 10) + 4) >> 3;
  // Four times the sum of both lines, half-way, then four steps back.
  const Shorts sumHigh = above.high + below.high;
  const Shorts sumLow = above.low + below.low;
  column.low = (((sumHigh << 12) + (sumLow << 2)) & 8191) - (column.stepLow << 2);
  column.high = ((sumHigh + (sumLow >> 10)) >> 1) - (column.stepHigh << 2);
  return column;
}

// (a · guide + b) >> 10 in row kRow, which is (8 · a · guide + X) >> 13.
template <int kRow>
[[gnu::always_inline]] inline Shorts lumaOfHalf(Column& column, Shorts guide) {
  Shorts a = kRow < kUpsampling / 2 ? column.above : column.below;
  if constexpr (kRow != 0) a += multiplyHigh(column.aStep, all(scaleFor(kRow)));
  const Shorts scaled = guide << 6;
  const Shorts whole = multiplyHigh(a, scaled);          // a · guide = whole · 2^10 + rest
  const Shorts rest = shiftRightUnsigned(a * scaled, 3); // 8 · rest
  const Shorts luma = whole + column.high + ((rest + column.low) >> 13);
  column.high += column.stepHigh;
  column.low += column.stepLow;
  return luma;
}

struct Columns {
  Column low;
  Column high;
};

[[gnu::always_inline]] inline Columns columnsBetween(const Lines& above, const Lines& below) {
  return {columnBetween(above.low, below.low), columnBetween(above.high, below.high)};
}

template <int kRow>
[[gnu::always_inline]] inline Bytes lumaOf(Columns& columns, Bytes guide) {
  const Halves codes = widen(guide);
  return narrow(
      {lumaOfHalf<kRow>(columns.low, codes.low), lumaOfHalf<kRow>(columns.high, codes.high)});
}

} // namespace
} // namespace tlux::detail

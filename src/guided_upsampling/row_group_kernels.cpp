// The fast guided filter (windows of 2r × 2r, edges repeated): rows of luma in 16 bits.
#include "base/lanes.hpp"
#include "guided_upsampling/row_group.hpp"

// Compiled once for each instruction set.
namespace tlux::detail {
namespace {

constexpr std::ptrdiff_t kCells = kColumns / kUpsampling;
constexpr std::ptrdiff_t kHalfColumns = kColumns / 2;

// Cells that have a next one.
void splitSteps(const std::int32_t* __restrict a, const std::int32_t* __restrict b,
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

void splitCells(const std::int32_t* a, const std::int32_t* b, std::ptrdiff_t cells,
                const CellRow& row) {
  const std::ptrdiff_t last = cells - 1;
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

struct LinePair {
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

[[gnu::always_inline]] inline LinePair lineAt(const CellRow& row, std::ptrdiff_t cell) {
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

// Where the line of a cell is stored.
constexpr std::ptrdiff_t lineOffset(std::ptrdiff_t cell) {
  return 3 * kUpsampling * cell;
}

[[gnu::always_inline]] inline Line loadLine(const std::int16_t* from) {
  return {loadShorts(from), loadShorts(from + kHalfColumns), loadShorts(from + 2 * kHalfColumns)};
}

[[gnu::always_inline]] inline void storeLine(std::int16_t* to, const Line& line) {
  store(to, line.a);
  store(to + kHalfColumns, line.high);
  store(to + 2 * kHalfColumns, line.low);
}

[[gnu::always_inline]] inline void storeLines(std::int16_t* to, const LinePair& lines) {
  storeLine(to, lines.low);
  storeLine(to + 3 * kHalfColumns, lines.high);
}

void startLine(const CellRow& row, std::ptrdiff_t cells, std::int16_t* line) {
  for (std::ptrdiff_t cell = 0; cell < cells; cell += kCells) {
    storeLines(line + lineOffset(cell), lineAt(row, cell));
  }
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
[[gnu::always_inline]] inline Shorts lumaOf(Column& column, Shorts guide) {
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

struct ColumnPair {
  Column low;
  Column high;
};

template <int kRow>
[[gnu::always_inline]] inline void makeRows(ColumnPair& columns,
                                            const LumaRows<const std::uint8_t>& guide,
                                            const LumaRows<std::uint8_t>& out) {
  const Halves codes = widen(loadBytes(guide.row(kRow)));
  const Halves luma = {lumaOf<kRow>(columns.low, codes.low),
                       lumaOf<kRow>(columns.high, codes.high)};
  store(out.row(kRow), narrow(luma));
  if constexpr (kRow + 1 < kUpsampling) makeRows<kRow + 1>(columns, guide, out);
}

[[gnu::always_inline]] inline void makeColumns(const CellRow& lower, std::ptrdiff_t cell,
                                               std::int16_t* line,
                                               const LumaRows<const std::uint8_t>& guide,
                                               const LumaRows<std::uint8_t>& out) {
  std::int16_t* const kept = line + lineOffset(cell);
  const LinePair above = {loadLine(kept), loadLine(kept + 3 * kHalfColumns)};
  const LinePair below = lineAt(lower, cell);
  storeLines(kept, below);
  ColumnPair columns = {columnBetween(above.low, below.low), columnBetween(above.high, below.high)};
  makeRows<0>(columns, guide, out);
}

// Requests what lies ahead in the rows: hardware prefetchers stop at page boundaries. Nothing is
// read, so the address need not be valid.
[[gnu::always_inline]] inline void prefetch(const LumaRows<const std::uint8_t>& guide) {
  constexpr std::ptrdiff_t kAhead = 256;
  for (int row = 0; row < kUpsampling; ++row) {
    __builtin_prefetch(guide.row(row) + kAhead);
  }
}

// For columns that do not fill a vector, or rows that do not fill a group.
void makeSome(const CellRow& lower, std::ptrdiff_t cell, std::size_t columns, int rows,
              std::int16_t* line, const LumaRows<const std::uint8_t>& guide,
              const LumaRows<std::uint8_t>& out) {
  std::uint8_t codes[kUpsampling * kColumns] = {};
  for (int row = 0; row < rows; ++row) {
    std::memcpy(codes + row * kColumns, guide.row(row), columns);
  }
  makeColumns(lower, cell, line, {codes, kColumns}, {codes, kColumns});
  for (int row = 0; row < rows; ++row) {
    std::memcpy(out.row(row), codes + row * kColumns, columns);
  }
}

void makeLuma(const CellRow& lower, const GroupPart& part, std::int16_t* line,
              LumaRows<const std::uint8_t> guide, LumaRows<std::uint8_t> out) {
  const CellRow row = lower;
  const std::ptrdiff_t firstCell = part.first / kUpsampling;
  const std::ptrdiff_t columns = part.end - part.first;
  const std::ptrdiff_t whole = part.rows == kUpsampling ? columns / kColumns * kColumns : 0;
  for (std::ptrdiff_t x = 0; x < whole; x += kColumns) {
    constexpr std::ptrdiff_t kCacheLine = 64;
    if (x % kCacheLine == 0) prefetch(guide.from(x));
    makeColumns(row, firstCell + x / kUpsampling, line, guide.from(x), out.from(x));
  }
  for (std::ptrdiff_t x = whole; x < columns; x += kColumns) {
    const std::ptrdiff_t rest = columns - x < kColumns ? columns - x : kColumns;
    makeSome(row, firstCell + x / kUpsampling, static_cast<std::size_t>(rest), part.rows, line,
             guide.from(x), out.from(x));
  }
}

} // namespace

template <>
const RowGroupKernels& kernelsFor<RowGroupKernels, SimdLevel::TLUX_LEVEL>() {
  static constexpr RowGroupKernels kTable = {splitCells, startLine, makeLuma};
  return kTable;
}

} // namespace tlux::detail

// The fast guided filter (windows of 2r × 2r, edges repeated): rows of luma in 16 bits.
#include "base/lanes.hpp"
#include "guided_upsampling/row_group.hpp"
#if defined(TLUX_WIDE_PRODUCTS)
#include "guided_upsampling/wide_columns.hpp"
#else
#include "guided_upsampling/short_columns.hpp"
#endif

// Compiled once for each instruction set.
namespace tlux::detail {
namespace {

constexpr std::ptrdiff_t kCells = kColumns / kUpsampling;

// Where the line of a cell is stored.
constexpr std::ptrdiff_t lineOffset(std::ptrdiff_t cell) {
  return 3 * kUpsampling * cell;
}

void startLine(const CellRow& row, std::int16_t* line) {
  const SplitCells cells = SplitCells::of(row);
  for (std::ptrdiff_t cell = 0; cell < row.cells; cell += kCells) {
    storeLines(line + lineOffset(cell), linesAt(cells, cell));
  }
}

template <int kRow>
[[gnu::always_inline]] inline void makeRows(Columns& columns,
                                            const LumaRows<const std::uint8_t>& guide,
                                            const LumaRows<std::uint8_t>& out) {
  store(out.row(kRow), lumaOf<kRow>(columns, loadBytes(guide.row(kRow))));
  if constexpr (kRow + 1 < kUpsampling) makeRows<kRow + 1>(columns, guide, out);
}

[[gnu::always_inline]] inline void makeColumns(const SplitCells& lower, std::ptrdiff_t cell,
                                               std::int16_t* line,
                                               const LumaRows<const std::uint8_t>& guide,
                                               const LumaRows<std::uint8_t>& out) {
  std::int16_t* const kept = line + lineOffset(cell);
  const Lines above = loadLines(kept);
  const Lines below = linesAt(lower, cell);
  storeLines(kept, below);
  Columns columns = columnsBetween(above, below);
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
void makeSome(const SplitCells& lower, std::ptrdiff_t cell, std::size_t columns, int rows,
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
  const SplitCells row = SplitCells::of(lower);
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

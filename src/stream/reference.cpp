#include "stream/reference.hpp"

#include <algorithm>

#include "reduce/row_reader.hpp"
#include "stream/video_range.hpp"

namespace tlux::detail {
namespace {

constexpr int kReduction = 8;
constexpr std::int32_t kRowsAtATime = 8;

// The frame rows that row y of the reference is made from; below the frame, its last row.
SourceRows rowsFor(Plane<const std::uint8_t> luma, std::int64_t y) {
  constexpr SubGrid kGrid = reductionOf(Sampling::k420, kReduction).luma;
  SourceRows rows{};
  for (int tap = 0; tap < kGrid.rows.count; ++tap) {
    const std::int64_t last = std::int64_t{luma.height} - 1;
    rows[static_cast<std::size_t>(tap)] = luma.row(std::min(kGrid.row(y, tap), last));
  }
  return rows;
}

} // namespace

void fillStreamReference(Team* team, Plane<const std::uint8_t> luma, std::uint32_t range,
                         Plane<std::uint8_t> reference) {
  const RowKernel& kernel = rowKernels().of(Sampling::k420, kReduction).luma;
  shareRows(team, reference.height, kRowsAtATime, [&](Band rows, int /*slot*/) {
    for (std::int32_t y = rows.first; y < rows.end; ++y) {
      std::uint8_t* row = reference.row(y);
      reduceRow(kernel, rowsFor(luma, y), rowsFor(luma, y + 1), luma.width, row, nullptr,
                reference.width);
      if (range == TLUX_RANGE_LIMITED) {
        std::transform(row, row + reference.width, row,
                       [](std::uint8_t code) { return kFullRangeLuma[code]; });
      }
    }
  });
}

} // namespace tlux::detail

// The fast guided filter (windows of 2r × 2r, edges repeated), third step: full-resolution rows.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "base/result.hpp"
#include "guided_upsampling/band_coefficients.hpp"
#include "guided_upsampling/row_groups.hpp"
#include "platform/scratch.hpp"
#include "platform/team.hpp"

namespace tlux::detail {

// Low-resolution rows of a band whose full-resolution rows one thread makes in one go.
struct Strip {
  const GuidedBand* band;
  Band rows;
  Coefficients coefficients;
  MMemMgr manager; // of that thread
};

// Low-resolution rows of a strip. Each strip interpolates the line at its top once more.
inline constexpr std::int32_t kStripRows = 4;

template <class Groups, class EmitGroup>
Result upsampleStrip(const Strip& strip, EmitGroup emitGroup) {
  const GuidedBand& band = *strip.band;
  const Band rows = strip.rows;
  const std::int32_t width = band.frame.width();
  const std::int32_t last = band.rows().end - 1;
  const Scratch<typename Groups::Sample> scratch(strip.manager, Groups::scratchSamples(width));
  if (!scratch) return Result::kNoMemory;

  Groups groups({band.maps.smoothA, band.maps.smoothB, width}, scratch.get());
  groups.start(rows.first);
  for (std::int32_t y = rows.first; y < rows.end; ++y) {
    groups.advance(std::min(y + 1, last)); // bands are not blended
    emitGroup(std::int64_t{kUpsampling} * y, groups);
  }
  return Result::kOk;
}

// Calls emitGroup(y, groups) for the rows y to y + 7 of each group of a strip; see row_groups.hpp.
// False, and nothing is emitted, when memory runs out or the band has no coefficients.
template <class EmitGroup>
Result filterStrip(const Strip& strip, EmitGroup emitGroup) {
  if (strip.rows.first >= strip.rows.end) return Result::kOk;
  if (strip.coefficients == Coefficients::kNone) return Result::kUnsolvable;
  return strip.coefficients == Coefficients::kShort ? upsampleStrip<ShortGroups>(strip, emitGroup)
                                                    : upsampleStrip<LongGroups>(strip, emitGroup);
}

// The same for a whole band, after computing its coefficients.
template <class EmitGroup>
Result filterBand(const GuidedBand& band, EmitGroup emitGroup) {
  const Band rows = band.rows();
  if (rows.first >= rows.end) return Result::kOk;
  return filterStrip({&band, rows, computeCoefficients(band), band.manager}, emitGroup);
}

// Calls work(strip) for all strips of the bands, shared by a team or, null, done by the caller.
// Each participant has its own pool.
template <class Work>
void forEachStrip(Team* team, const FilteredBands& filtered, std::span<const MMemMgr> pools,
                  Work work) {
  const std::int64_t stripsPerBand =
      (std::int64_t{filtered.bands[0].rowCount} + kStripRows - 1) / kStripRows;
  shareItems(team, filtered.count * stripsPerBand, [&](std::int64_t index, int slot) {
    const auto i = static_cast<std::size_t>(index / stripsPerBand);
    const Band rows = filtered.bands[i].rows();
    const auto first = static_cast<std::int32_t>(rows.first + index % stripsPerBand * kStripRows);
    if (first >= rows.end) return;
    const std::int32_t end = rows.end - first < kStripRows ? rows.end : first + kStripRows;
    work(Strip{&filtered.bands[i],
               {first, end},
               filtered.coefficients[i],
               pools[static_cast<std::size_t>(slot)]});
  });
}

} // namespace tlux::detail

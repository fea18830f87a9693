#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "base/bands.hpp"
#include "guided_upsampling/row_groups.hpp"
#include "platform/scratch.hpp"
#include "platform/worker_team.hpp"
#include "tlux/fast_guided_filter.h"

// The fast guided filter in two shares of work: the coefficients of the four bands, then strips of
// the full-resolution rows. What is done with a row is the caller's: FastGuideFilterMT() stores it,
// MultiThreadGuideTone() takes it for a change of luma, a run goes on to its chroma.
namespace tlux {

// What the smoothed coefficients of a band are like.
enum class Coefficients {
  kNone,  // they could not be computed
  kShort, // they fit ShortGroups
  kLong,
};

Coefficients computeCoefficients(const TLUX_GUIDE_CONTEXT& band);

// Of coefficients whose magnitudes ShortGroups can do with.
constexpr Coefficients smallCoefficients(std::int32_t lowWidth) {
  return lowWidth < kFewestShortCells ? Coefficients::kLong : Coefficients::kShort;
}

// Size of the private pool that holds what a worker allocates: the filter's buffers and `ownBytes`
// of the caller's.
std::int64_t workerPoolBytes(std::int32_t lowWidth, std::int32_t radius, std::int64_t ownBytes = 0);

// Layout of the block that filterInStrips() works in: four maps, then the memory of four workers.
// One block, since a heap that got them back one by one would return the pages to the system, and
// fault them in again with every frame.
struct FilterBlock {
  std::int64_t samples; // of a map
  std::int64_t share;   // bytes of a worker, a multiple of 8

  constexpr FilterBlock(std::int64_t lowWidth, std::int64_t lowHeight, std::int64_t workerBytes)
      : samples(lowWidth * lowHeight), share((workerBytes + 7) / 8 * 8) {}

  // Negative when 64 bits do not hold them.
  constexpr std::int64_t bytes() const {
    constexpr std::int64_t kMaps = 4 * std::int64_t{sizeof(std::int32_t)}; // a sample
    std::int64_t total = 0;
    const bool tooMany = __builtin_mul_overflow(samples, kMaps, &total) ||
                         __builtin_add_overflow(total, kBandCount * share, &total);
    return tooMany ? -1 : total;
  }
};

inline Band rowsOf(const TLUX_GUIDE_CONTEXT& band) {
  const std::int64_t end = std::int64_t{band.startRow} + band.bandRows;
  return {band.startRow, end < band.lowHeight ? static_cast<std::int32_t>(end) : band.lowHeight};
}

// Low-resolution rows of a band whose full-resolution rows one thread makes at a time.
struct Strip {
  const TLUX_GUIDE_CONTEXT* band;
  Band rows;
  Coefficients coefficients;
  MMemMgr manager; // of that thread
};

// Low-resolution rows of a strip. The line at its top is interpolated once more for each strip.
inline constexpr std::int32_t kStripRows = 4;

template <class Groups, class EmitGroup>
bool upsampleStrip(const Strip& strip, EmitGroup emitGroup) {
  const TLUX_GUIDE_CONTEXT& band = *strip.band;
  const Band rows = strip.rows;
  const std::int32_t last = rowsOf(band).end - 1;
  const Scratch<typename Groups::Sample> scratch(strip.manager,
                                                 Groups::scratchSamples(band.lowWidth));
  if (!scratch) return false;

  Groups groups({band.smoothA, band.smoothB, band.lowWidth}, scratch.get());
  groups.start(rows.first);
  for (std::int32_t y = rows.first; y < rows.end; ++y) {
    groups.advance(std::min(y + 1, last)); // bands are not blended
    emitGroup(std::int64_t{kUpsampling} * y, groups);
  }
  return true;
}

// Calls emitGroup(y, groups) for the rows y to y + 7 of each group of a strip; see row_groups.hpp.
// False, and nothing is emitted, when memory is short or the band has no coefficients.
template <class EmitGroup>
bool filterStrip(const Strip& strip, EmitGroup emitGroup) {
  if (strip.rows.first >= strip.rows.end || strip.coefficients == Coefficients::kNone) return false;
  return strip.coefficients == Coefficients::kShort ? upsampleStrip<ShortGroups>(strip, emitGroup)
                                                    : upsampleStrip<LongGroups>(strip, emitGroup);
}

// The same for a whole band, whose coefficients are computed first.
template <class EmitGroup>
bool filterBand(const TLUX_GUIDE_CONTEXT& band, EmitGroup emitGroup) {
  const Band rows = rowsOf(band);
  if (rows.first >= rows.end) return false;
  return filterStrip({&band, rows, computeCoefficients(band), band.manager}, emitGroup);
}

// Calls work(strip) for all strips of the first `bandCount` bands of a frame, `frame` describing
// all but the memory and the rows of the bands.
template <class Work>
std::uint32_t filterInStrips(MMemMgr manager, const TLUX_GUIDE_CONTEXT& frame,
                             std::int64_t workerBytes, Team& team, int bandCount, Work work) {
  static_assert(WorkerTeam::kSize == kBandCount, "a pool serves a band, then a slot");
  if (frame.lowWidth == 0 || frame.lowHeight == 0) return TLUX_OK;
  if (frame.lowWidth < 0 || frame.lowHeight < 0) return TLUX_ERR_NO_MEMORY;
  const FilterBlock layout(frame.lowWidth, frame.lowHeight, workerBytes);
  const Scratch<std::uint8_t> block(manager, layout.bytes());
  if (!block) return TLUX_ERR_NO_MEMORY;
  const std::int64_t samples = layout.samples;
  auto* const maps = reinterpret_cast<std::int32_t*>(block.get());
  auto* const pools = reinterpret_cast<std::uint8_t*>(maps + 4 * samples);

  const std::int32_t bandRows = bandHeight(frame.lowHeight);
  std::array<TLUX_GUIDE_CONTEXT, kBandCount> bands{};
  for (int i = 0; i < kBandCount; ++i) {
    TLUX_GUIDE_CONTEXT& band = bands[static_cast<std::size_t>(i)];
    band = frame;
    // Pools of their own, since the caller's has no lock.
    band.manager =
        MMemMgrCreate(pools + i * layout.share, static_cast<std::uint64_t>(layout.share));
    band.rawA = maps;
    band.rawB = maps + samples;
    band.smoothA = maps + 2 * samples;
    band.smoothB = maps + 3 * samples;
    band.bandRows = bandRows;
    band.startRow = i * bandRows;
  }

  std::array<Coefficients, kBandCount> coefficients{};
  team.share(bandCount, [&](std::int64_t index, int /*slot*/) {
    const auto i = static_cast<std::size_t>(index);
    coefficients[i] = computeCoefficients(bands[i]);
  });
  const std::int64_t stripsPerBand = (std::int64_t{bandRows} + kStripRows - 1) / kStripRows;
  team.share(bandCount * stripsPerBand, [&](std::int64_t index, int slot) {
    const auto i = static_cast<std::size_t>(index / stripsPerBand);
    const Band rows = rowsOf(bands[i]);
    const auto first = static_cast<std::int32_t>(rows.first + index % stripsPerBand * kStripRows);
    if (first >= rows.end) return;
    const std::int32_t end = rows.end - first < kStripRows ? rows.end : first + kStripRows;
    work(Strip{
        &bands[i], {first, end}, coefficients[i], bands[static_cast<std::size_t>(slot)].manager});
  });
  return TLUX_OK;
}

// The same with threads for this call alone. Result codes as FastGuideFilterMT(): when a thread
// cannot be started, as many bands are done as others were.
template <class Work>
std::uint32_t filterOnThreads(MMemMgr manager, const TLUX_GUIDE_CONTEXT& frame,
                              std::int64_t workerBytes, Work work) {
  WorkerTeam team;
  const int bandCount = team.isComplete() ? kBandCount : team.started();
  const std::uint32_t result = filterInStrips(manager, frame, workerBytes, team, bandCount, work);
  const bool isEmpty = frame.lowWidth == 0 || frame.lowHeight == 0;
  return result == TLUX_OK && !isEmpty && !team.isComplete() ? TLUX_ERR_THREAD : result;
}

} // namespace tlux

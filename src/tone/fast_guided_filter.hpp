#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/bands.hpp"
#include "platform/scratch.hpp"
#include "platform/worker_team.hpp"
#include "tlux/fast_guided_filter.h"
#include "tone/upsample_line.hpp"

// The fast guided filter in two shares of work: the coefficients of the four bands, then strips of
// the full-resolution rows. What is done with a row is the caller's: FastGuideFilterMT() stores it,
// MultiThreadGuideTone() takes it for a change of luma, a run goes on to its chroma.
namespace tlux {

// The horizontally interpolated coefficient rows that a full-resolution row lies between. Slopes
// are held in 16 bits where a band's coefficients allow it, which pictures do: that halves the
// work.
template <class Slope>
struct CoefficientLines {
  const Slope* upperA;
  const Slope* lowerA;
  const std::int32_t* upperB;
  const std::int32_t* lowerB;
};

// out = clamp((a · guide + b) >> 10), a and b taken phase/8 of the way from the upper lines to the
// lower. out may be guide.
void applyCoefficients(int phase, const CoefficientLines<std::int16_t>& lines,
                       const std::uint8_t* guide, std::uint8_t* out, std::ptrdiff_t width);
void applyCoefficients(int phase, const CoefficientLines<std::int32_t>& lines,
                       const std::uint8_t* guide, std::uint8_t* out, std::ptrdiff_t width);

// What the smoothed coefficients of a band are like.
enum class Coefficients {
  kNone,  // they could not be computed
  kShort, // slopes can be interpolated, and results clamped, in 16 bits: a · guide + b < 2^25
  kLong,
};

Coefficients computeCoefficients(const TLUX_GUIDE_CONTEXT& band);

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

  constexpr std::int64_t bytes() const {
    return 4 * samples * std::int64_t{sizeof(std::int32_t)} + kBandCount * share;
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

template <class Slope, class EmitRow>
bool upsampleStrip(const Strip& strip, EmitRow emitRow) {
  const TLUX_GUIDE_CONTEXT& band = *strip.band;
  const Band rows = strip.rows;
  const std::int32_t last = rowsOf(band).end - 1;
  const std::ptrdiff_t lowWidth = band.lowWidth;
  const std::int64_t width = kUpsampling * std::int64_t{lowWidth};
  const Scratch<Slope> linesA(strip.manager, 2 * width);
  const Scratch<std::int32_t> linesB(strip.manager, 2 * width);
  if (!linesA || !linesB) return false;

  // Each low row is interpolated once: as the lower line, which then becomes the upper one.
  const auto interpolate = [&](std::int32_t y) {
    const std::ptrdiff_t line = (y - rows.first) % 2 * width;
    upsampleRow(band.smoothA + y * lowWidth, linesA.get() + line, lowWidth);
    upsampleRow(band.smoothB + y * lowWidth, linesB.get() + line, lowWidth);
  };
  interpolate(rows.first);
  for (std::int32_t y = rows.first; y < rows.end; ++y) {
    const std::int32_t next = y < last ? y + 1 : y; // bands are not blended
    if (next != y) interpolate(next);
    const std::ptrdiff_t upper = (y - rows.first) % 2 * width;
    const std::ptrdiff_t lower = (next - rows.first) % 2 * width;
    const CoefficientLines<Slope> lines = {linesA.get() + upper, linesA.get() + lower,
                                           linesB.get() + upper, linesB.get() + lower};
    for (int phase = 0; phase < kUpsampling; ++phase) {
      emitRow(std::int64_t{kUpsampling} * y + phase, phase, lines);
    }
  }
  return true;
}

// Calls emitRow(y, phase, lines) for each full-resolution row y of a strip. False, and nothing is
// emitted, when memory is short or the band has no coefficients.
template <class EmitRow>
bool filterStrip(const Strip& strip, EmitRow emitRow) {
  if (strip.rows.first >= strip.rows.end || strip.coefficients == Coefficients::kNone) return false;
  return strip.coefficients == Coefficients::kShort ? upsampleStrip<std::int16_t>(strip, emitRow)
                                                    : upsampleStrip<std::int32_t>(strip, emitRow);
}

// The same for a whole band, whose coefficients are computed first.
template <class EmitRow>
bool filterBand(const TLUX_GUIDE_CONTEXT& band, EmitRow emitRow) {
  const Band rows = rowsOf(band);
  if (rows.first >= rows.end) return false;
  return filterStrip({&band, rows, computeCoefficients(band), band.manager}, emitRow);
}

// Calls work(strip) for all strips of a frame, `frame` describing all but the memory and the rows
// of the bands. Result codes as FastGuideFilterMT(); of a team that is not complete, as many bands
// are done as threads were started.
template <class Work>
std::uint32_t filterInStrips(MMemMgr manager, const TLUX_GUIDE_CONTEXT& frame,
                             std::int64_t workerBytes, WorkerTeam& team, Work work) {
  static_assert(WorkerTeam::kSize == kBandCount, "a pool serves a band, then a slot");
  if (frame.lowWidth == 0 || frame.lowHeight == 0) return TLUX_OK;
  if (frame.lowWidth < 0 || frame.lowHeight < 0) return TLUX_ERR_NO_MEMORY;
  const FilterBlock layout(frame.lowWidth, frame.lowHeight, workerBytes);
  const Scratch<std::int64_t> block(manager, layout.bytes() / 8);
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
  team.share(team.started(), [&](std::int64_t index, int /*slot*/) {
    const auto i = static_cast<std::size_t>(index);
    coefficients[i] = computeCoefficients(bands[i]);
  });
  const std::int64_t stripsPerBand = (std::int64_t{bandRows} + kStripRows - 1) / kStripRows;
  team.share(team.started() * stripsPerBand, [&](std::int64_t index, int slot) {
    const auto i = static_cast<std::size_t>(index / stripsPerBand);
    const Band rows = rowsOf(bands[i]);
    const auto first = static_cast<std::int32_t>(rows.first + index % stripsPerBand * kStripRows);
    if (first >= rows.end) return;
    const std::int32_t end = rows.end - first < kStripRows ? rows.end : first + kStripRows;
    work(Strip{
        &bands[i], {first, end}, coefficients[i], bands[static_cast<std::size_t>(slot)].manager});
  });
  return team.isComplete() ? TLUX_OK : TLUX_ERR_THREAD;
}

} // namespace tlux

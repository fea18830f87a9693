#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/bands.hpp"
#include "platform/scratch.hpp"
#include "platform/workers.hpp"
#include "tlux/fast_guided_filter.h"
#include "tone/upsample_line.hpp"

// The band machinery of the fast guided filter: the driver that gives each of four workers its band
// and its memory, and the worker's way from low-resolution planes to full-resolution rows. What is
// done with a row is the caller's: FastGuideFilterMT() stores it, MultiThreadGuideTone() takes it
// for a change of luma.
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
template <class Slope>
void applyCoefficients(int phase, const CoefficientLines<Slope>& lines, const std::uint8_t* guide,
                       std::uint8_t* out, std::ptrdiff_t width);

// Computes the band's smoothed coefficients; false when that failed and the band has none.
bool computeCoefficients(const TLUX_GUIDE_CONTEXT& band);

// Size of the private pool that holds what a worker allocates: the filter's buffers and `ownBytes`
// of the caller's.
std::int64_t workerPoolBytes(std::int32_t lowWidth, std::int32_t radius, std::int64_t ownBytes = 0);

inline Band rowsOf(const TLUX_GUIDE_CONTEXT& band) {
  const std::int64_t end = std::int64_t{band.startRow} + band.bandRows;
  return {band.startRow, end < band.lowHeight ? static_cast<std::int32_t>(end) : band.lowHeight};
}

// Whether the band's slopes can be interpolated, and its results clamped, in 16 bits: a · guide + b
// is then below 2^25.
bool hasShortCoefficients(const TLUX_GUIDE_CONTEXT& band);

template <class Slope, class EmitRow>
void upsampleBand(const TLUX_GUIDE_CONTEXT& band, EmitRow emitRow) {
  const Band rows = rowsOf(band);
  const std::ptrdiff_t lowWidth = band.lowWidth;
  const std::int64_t width = kUpsampling * std::int64_t{lowWidth};
  const Scratch<Slope> linesA(band.manager, 2 * width);
  const Scratch<std::int32_t> linesB(band.manager, 2 * width);
  if (!linesA || !linesB) return;

  // Each low row is interpolated once: as the lower line, which then becomes the upper one.
  const auto interpolate = [&](std::int32_t y) {
    const std::ptrdiff_t line = (y - rows.first) % 2 * width;
    upsampleRow(band.smoothA + y * lowWidth, linesA.get() + line, lowWidth);
    upsampleRow(band.smoothB + y * lowWidth, linesB.get() + line, lowWidth);
  };
  interpolate(rows.first);
  for (std::int32_t y = rows.first; y < rows.end; ++y) {
    const std::int32_t next = y + 1 < rows.end ? y + 1 : y; // bands are not blended
    if (next != y) interpolate(next);
    const std::ptrdiff_t upper = (y - rows.first) % 2 * width;
    const std::ptrdiff_t lower = (next - rows.first) % 2 * width;
    const CoefficientLines<Slope> lines = {linesA.get() + upper, linesA.get() + lower,
                                           linesB.get() + upper, linesB.get() + lower};
    for (int phase = 0; phase < kUpsampling; ++phase) {
      emitRow(std::int64_t{kUpsampling} * y + phase, phase, lines);
    }
  }
}

// Filters a band, calling emitRow(y, phase, lines) for each full-resolution row y. Emits nothing
// when memory is short or the coefficients have no solution.
template <class EmitRow>
void filterBand(const TLUX_GUIDE_CONTEXT& band, EmitRow emitRow) {
  const Band rows = rowsOf(band);
  if (rows.first >= rows.end || !computeCoefficients(band)) return;
  if (hasShortCoefficients(band)) {
    upsampleBand<std::int16_t>(band, emitRow);
  } else {
    upsampleBand<std::int32_t>(band, emitRow);
  }
}

// Runs work(band) on four threads, `frame` describing all but the memory and the rows of the bands.
// Result codes as FastGuideFilterMT(); whatever happens, no thread runs and nothing stays
// allocated.
template <class Work>
std::uint32_t filterInBands(MMemMgr manager, const TLUX_GUIDE_CONTEXT& frame,
                            std::int64_t workerBytes, Work work) {
  if (frame.lowWidth == 0 || frame.lowHeight == 0) return TLUX_OK;
  if (frame.lowWidth < 0 || frame.lowHeight < 0) return TLUX_ERR_NO_MEMORY;
  const std::int64_t samples = std::int64_t{frame.lowWidth} * frame.lowHeight;
  const Scratch<std::int32_t> rawA(manager, samples);
  const Scratch<std::int32_t> rawB(manager, samples);
  const Scratch<std::int32_t> smoothA(manager, samples);
  const Scratch<std::int32_t> smoothB(manager, samples);
  if (!rawA || !rawB || !smoothA || !smoothB) return TLUX_ERR_NO_MEMORY;

  // A pool of each worker's own, since the caller's has no lock.
  const Scratch<std::uint8_t> blocks[kBandCount] = {{manager, workerBytes},
                                                    {manager, workerBytes},
                                                    {manager, workerBytes},
                                                    {manager, workerBytes}};
  std::array<TLUX_GUIDE_CONTEXT, kBandCount> bands{};
  for (int i = 0; i < kBandCount; ++i) {
    if (!blocks[i]) return TLUX_ERR_NO_MEMORY;
    TLUX_GUIDE_CONTEXT& band = bands[static_cast<std::size_t>(i)];
    band = frame;
    band.manager = MMemMgrCreate(blocks[i].get(), static_cast<std::uint64_t>(workerBytes));
    band.rawA = rawA.get();
    band.rawB = rawB.get();
    band.smoothA = smoothA.get();
    band.smoothB = smoothB.get();
    band.bandRows = bandHeight(frame.lowHeight);
    band.startRow = i * band.bandRows;
  }
  auto workOnBand = [&](int index) { work(bands[static_cast<std::size_t>(index)]); };
  return runOnWorkers<kBandCount>(workOnBand) ? TLUX_OK : TLUX_ERR_THREAD;
}

} // namespace tlux

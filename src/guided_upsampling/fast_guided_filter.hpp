#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/bands.hpp"
#include "guided_upsampling/coefficient_lines.hpp"
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
  kShort, // they fit ShortLines
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

// Rows of long coefficients at full width: each low row is interpolated once, as the lower line,
// which then becomes the upper one.
class LongLineRing {
 public:
  using Sample = std::int32_t;
  static constexpr int kPlanes = 4; // of Sample

  LongLineRing(Sample* scratch, std::ptrdiff_t lowWidth)
      : a_(scratch), b_(scratch + 2 * kUpsampling * lowWidth), lowWidth_(lowWidth) {}

  void interpolate(const TLUX_GUIDE_CONTEXT& band, std::int32_t y) {
    upsampleRow(band.smoothA + y * lowWidth_, a_ + at(y), lowWidth_);
    upsampleRow(band.smoothB + y * lowWidth_, b_ + at(y), lowWidth_);
  }
  LongLines between(std::int32_t upper, std::int32_t lower) const {
    return {a_ + at(upper), a_ + at(lower), b_ + at(upper), b_ + at(lower)};
  }

 private:
  std::ptrdiff_t at(std::int32_t y) const { return y % 2 * kUpsampling * lowWidth_; }

  Sample* a_;
  Sample* b_;
  std::ptrdiff_t lowWidth_;
};

// The same of short ones.
class ShortLineRing {
 public:
  using Sample = std::int16_t;
  static constexpr int kPlanes = kShortPlanes;

  ShortLineRing(Sample* scratch, std::ptrdiff_t lowWidth)
      : scratch_(scratch), lowWidth_(lowWidth) {}

  void interpolate(const TLUX_GUIDE_CONTEXT& band, std::int32_t y) {
    upsampleShortLine(band.smoothA + y * lowWidth_, band.smoothB + y * lowWidth_, line(y),
                      lowWidth_);
  }
  ShortLines between(std::int32_t upper, std::int32_t lower) const {
    const ShortLines lines = {line(upper), line(lower), {plane(6), plane(7)}};
    computeSteps(lines.upper, lines.lower, lines.step, kUpsampling * lowWidth_);
    return lines;
  }

 private:
  Sample* plane(int i) const { return scratch_ + i * kUpsampling * lowWidth_; }
  ShortLine line(std::int32_t y) const {
    const int first = y % 2 * 3;
    return {plane(first), plane(first + 1), plane(first + 2)};
  }

  Sample* scratch_;
  std::ptrdiff_t lowWidth_;
};

template <class Ring, class EmitRows>
bool upsampleStrip(const Strip& strip, EmitRows emitRows) {
  const TLUX_GUIDE_CONTEXT& band = *strip.band;
  const Band rows = strip.rows;
  const std::int32_t last = rowsOf(band).end - 1;
  const Scratch<typename Ring::Sample> scratch(
      strip.manager, Ring::kPlanes * kUpsampling * std::int64_t{band.lowWidth});
  if (!scratch) return false;

  Ring ring(scratch.get(), band.lowWidth);
  ring.interpolate(band, rows.first);
  for (std::int32_t y = rows.first; y < rows.end; ++y) {
    const std::int32_t next = y < last ? y + 1 : y; // bands are not blended
    if (next != y) ring.interpolate(band, next);
    const auto lines = ring.between(y, next);
    for (int phase = 0; phase < kUpsampling; phase += 2) {
      emitRows(std::int64_t{kUpsampling} * y + phase, phase, lines);
    }
  }
  return true;
}

// Calls emitRows(y, phase, lines) for each pair y, y + 1 of full-resolution rows of a strip. False,
// and nothing is emitted, when memory is short or the band has no coefficients.
template <class EmitRows>
bool filterStrip(const Strip& strip, EmitRows emitRows) {
  if (strip.rows.first >= strip.rows.end || strip.coefficients == Coefficients::kNone) return false;
  return strip.coefficients == Coefficients::kShort ? upsampleStrip<ShortLineRing>(strip, emitRows)
                                                    : upsampleStrip<LongLineRing>(strip, emitRows);
}

// The same for a whole band, whose coefficients are computed first.
template <class EmitRows>
bool filterBand(const TLUX_GUIDE_CONTEXT& band, EmitRows emitRows) {
  const Band rows = rowsOf(band);
  if (rows.first >= rows.end) return false;
  return filterStrip({&band, rows, computeCoefficients(band), band.manager}, emitRows);
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

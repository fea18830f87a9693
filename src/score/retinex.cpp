#include "score/retinex.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/by_eights.hpp"
#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"
#include "base/plane.hpp"
#include "base/result.hpp"
#include "platform/pool_need.hpp"
#include "platform/scratch.hpp"
#include "score/log_table.hpp"
#include "score/mean.hpp"
#include "score/pyramid.hpp"
#include "score/score.hpp"
#include "score/score_tables.hpp"
#include "tlux/retinex.h"

namespace tlux::detail {
namespace {

using Samples = Plane<std::int16_t>;

// The log luminance towards which a frame's mean is moved, 1024·ln(0.18·4096): an 18 % grey.
constexpr double kGreyLog = 6761.438964354475;
constexpr std::int32_t kLargestEnergy = 32767;

// The space for the pyramid levels and the row buffers of its blends; narrow frames need more.
std::int64_t pyramidSamples(std::int64_t pixels) {
  return pixels < 2050 ? 1024 : pixels / 2;
}

// Two planes and the samples of the pyramid.
std::int64_t workSamples(std::int64_t pixels) {
  return 2 * pixels + pyramidSamples(pixels);
}

std::int16_t logLumaOf(std::int16_t linear) {
  return kLogTable[static_cast<std::size_t>(clampTo(linear, 0, kLinearLevels - 1))];
}

// energy = detail² / 1024, saturated. A square that leaves 31 bits counts as none. Returns the sum
// of the row.
TLUX_MULTIVERSION std::int32_t detailEnergy(const std::int16_t* __restrict logLuma,
                                            const std::int16_t* __restrict base,
                                            std::ptrdiff_t width, std::int16_t* __restrict energy) {
  std::int32_t sum = 0;
  for (std::ptrdiff_t i = 0; i < width; ++i) {
    const std::int32_t detail = logLuma[i] - base[i];
    const std::int32_t square = wrappingMul(detail, detail) >> 10;
    energy[i] = static_cast<std::int16_t>(clampTo(square, 0, kLargestEnergy));
    sum = wrappingAdd(sum, energy[i]);
  }
  return sum;
}

// Energy to deviation, in place. Returns the sum of the row.
std::int32_t toDeviation(std::int16_t* row, std::ptrdiff_t width) {
  forEachByEights(width, [=](std::ptrdiff_t i) TLUX_INLINED_LAMBDA {
    row[i] = kDeviationTable[static_cast<std::size_t>(std::max<std::int32_t>(row[i], 0))];
  });
  return sumOf(row, width);
}

// Smooths a plane into another, or in place, and calls made(rows) when rows of it are made. A plane
// without a pyramid stays as it is. False when memory is short.
template <class Made>
bool smooth(Pyramid pyramid, const Samples& source, const Samples& output, Team* team, Made made) {
  const PyramidOutcome outcome = pyramid.smooth(output, nullptr, team, made);
  if (outcome == PyramidOutcome::kNoMemory) return false;
  if (outcome == PyramidOutcome::kDone) return true;
  if (output.data != source.data) {
    std::copy_n(source.data, std::int64_t{source.width} * source.height, output.data);
  }
  made(Band{0, output.height});
  return true;
}

// `memory` holds workSamples(), `frame` the log luminance relative to `anchor`. `steadiness` null:
// the frame is independent of others.
Result scoreFrameIn(std::int16_t* memory, MMemMgr manager, const RetinexFrame& frame,
                    std::int32_t anchor, Steadiness* steadiness, Team* team) {
  const std::int32_t width = frame.width;
  const std::int32_t height = frame.height;
  const std::int64_t pixels = std::int64_t{width} * height;
  const Samples logLuma = packedPlane(frame.logLuma, width, height);
  const Samples base = packedPlane(memory, width, height);
  const Samples energy = packedPlane(memory + pixels, width, height);
  const PyramidScratch scratch{memory + 2 * pixels, pyramidSamples(pixels)};
  const bool isSteady = steadiness != nullptr && steadiness->isOn();

  const std::int32_t mean = shiftSamples(logLuma, anchor); // sharing it would take longer
  RowMeans energies(width, height);
  const auto toEnergy = [&](Band rows) {
    energies.add(rows, [&](std::int32_t y) {
      return detailEnergy(logLuma.row(y), base.row(y), width, energy.row(y));
    });
  };
  FollowedLevels* const followedBase = isSteady ? &steadiness->base() : nullptr;
  if (!smooth(Pyramid(manager, logLuma, mean, scratch, followedBase), logLuma, base, team,
              toEnergy)) {
    return Result::kNoMemory;
  }

  RowMeans deviations(width, height);
  const auto toDeviations = [&](Band rows) {
    deviations.add(rows, [&](std::int32_t y) { return toDeviation(energy.row(y), width); });
  };
  FollowedLevels* const followedEnergy = isSteady ? &steadiness->energy() : nullptr;
  if (!smooth(Pyramid(manager, energy, energies.mean(), scratch, followedEnergy), energy, energy,
              team, toDeviations)) {
    return Result::kNoMemory;
  }
  auto contrast = saturatingTrunc<std::int32_t>(std::sqrt(deviations.mean() / 1024.0) * 1024);
  if (steadiness != nullptr) contrast = steadiness->followContrast(contrast);
  computeScore({logLuma, base, energy}, kReciprocalTable.data(), contrast,
               packedPlane(frame.scores, width, height), team);
  return Result::kOk;
}

// Calls score(memory) with the working memory for a frame that is not empty.
template <class Score>
Result withMemory(MMemMgr manager, void* workBuffer, const RetinexFrame& frame, Score score) {
  if (frame.width < 0 || frame.height < 0) return Result::kNoMemory;
  if (frame.width == 0 || frame.height == 0) return Result::kOk;
  const std::int64_t pixels = std::int64_t{frame.width} * frame.height;
  if (pixels > std::numeric_limits<std::int64_t>::max() / 8) return Result::kNoMemory;

  const std::int64_t samples = workSamples(pixels);
  const bool fitsGiven = 2 * samples <= 5 * pixels;
  if (workBuffer != nullptr && fitsGiven) return score(static_cast<std::int16_t*>(workBuffer));
  const Scratch<std::int16_t> own(manager, samples);
  return own ? score(own.get()) : Result::kNoMemory;
}

} // namespace

// Half-way between the frame's mean and grey.
std::int32_t anchorOf(std::int32_t mean) {
  return mean + saturatingTrunc<std::int32_t>((kGreyLog - mean) * 0.5 + 512.0);
}

Result scoreFrame(MMemMgr manager, void* workBuffer, const RetinexFrame& frame) {
  return withMemory(manager, workBuffer, frame, [&](std::int16_t* memory) {
    const Samples plane = packedPlane(frame.logLuma, frame.width, frame.height);
    const std::int32_t mean = convertSamples(plane, plane, logLumaOf);
    return scoreFrameIn(memory, manager, frame, anchorOf(mean), nullptr, nullptr);
  });
}

Result scoreLogFrame(MMemMgr manager, const RetinexFrame& frame, std::int32_t mean, Team* team) {
  return withMemory(manager, nullptr, frame, [&](std::int16_t* memory) {
    return scoreFrameIn(memory, manager, frame, anchorOf(mean), nullptr, team);
  });
}

Result scoreLogFrame(MMemMgr manager, const RetinexFrame& frame, Steadiness& steadiness,
                     Team* team) {
  return withMemory(manager, nullptr, frame, [&](std::int16_t* memory) {
    return scoreFrameIn(memory, manager, frame, steadiness.anchor(), &steadiness, team);
  });
}

std::array<std::int16_t, 256> logLumaOfCodes(const std::uint16_t* degamma) {
  std::array<std::int16_t, 256> table{};
  for (std::size_t code = 0; code < table.size(); ++code) {
    table[code] = logLumaOf(static_cast<std::int16_t>(degamma[code]));
  }
  return table;
}

std::int64_t scorePoolBytes(std::int32_t width, std::int32_t height) {
  const std::int64_t samples = workSamples(std::int64_t{width} * height);
  return poolBlock(samples * std::int64_t{sizeof(std::int16_t)}) + pyramidPoolBytes(width, height);
}

} // namespace tlux::detail

using namespace tlux::detail;

uint32_t AME_GenerateRetinexLogGain(MMemMgr manager, void* workBuf, int16_t* logLuma, int32_t width,
                                    int32_t height, uint16_t* scoreOut) noexcept {
  if (logLuma == nullptr || scoreOut == nullptr) return TLUX_ERR_INVALID_PARAM;
  return codeOf(scoreFrame(manager, workBuf, {logLuma, scoreOut, width, height}));
}

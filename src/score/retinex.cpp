#include "score/retinex.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

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

// energy = detail² / 1024, saturated. A square beyond 31 bits counts as 0.
TLUX_MULTIVERSION void detailEnergy(const std::int16_t* __restrict logLuma,
                                    const std::int16_t* __restrict base, std::ptrdiff_t count,
                                    std::int16_t* __restrict energy) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const std::int32_t detail = logLuma[i] - base[i];
    const std::int32_t square = wrappingMul(detail, detail) >> 10;
    energy[i] = static_cast<std::int16_t>(clampTo(square, 0, kLargestEnergy));
  }
}

// Energy to deviation, in place; returns the frame's mean deviation.
std::int32_t toDeviation(const Samples& plane, Team* team) {
  const auto deviationOf = [](std::int16_t v) {
    return kDeviationTable[static_cast<std::size_t>(std::max<std::int32_t>(v, 0))];
  };
  return convertSamples(plane, plane, deviationOf, team);
}

// `memory` holds workSamples(), `frame` the log luminance relative to `anchor`. `steadiness` null:
// the frame is independent of others.
Result scoreFrameIn(std::int16_t* memory, MMemMgr manager, const RetinexFrame& frame,
                    std::int32_t anchor, Steadiness* steadiness, Team* team) {
  const std::int64_t pixels = std::int64_t{frame.width} * frame.height;
  const auto planeAt = [&](auto* data) { return packedPlane(data, frame.width, frame.height); };
  const Samples logLuma = planeAt(frame.logLuma);
  const Samples base = planeAt(memory);
  const Samples energy = planeAt(memory + pixels);
  const PyramidScratch scratch{memory + 2 * pixels, pyramidSamples(pixels)};

  const bool isSteady = steadiness != nullptr && steadiness->isOn();
  shiftSamples(logLuma, anchor);
  const PyramidOutcome smoothing = smoothPyramid(manager, logLuma, base, scratch, nullptr, team,
                                                 isSteady ? &steadiness->base() : nullptr);
  if (smoothing == PyramidOutcome::kNoMemory) return Result::kNoMemory;
  // A frame without a pyramid is its own base: no detail.
  if (smoothing != PyramidOutcome::kDone) std::copy_n(logLuma.data, pixels, base.data);

  detailEnergy(logLuma.data, base.data, pixels, energy.data);
  if (smoothPyramid(manager, energy, energy, scratch, nullptr, team,
                    isSteady ? &steadiness->energy() : nullptr) == PyramidOutcome::kNoMemory) {
    return Result::kNoMemory;
  }
  const std::int32_t deviation = toDeviation(energy, team);
  auto contrast = saturatingTrunc<std::int32_t>(std::sqrt(deviation / 1024.0) * 1024);
  if (steadiness != nullptr) contrast = steadiness->followContrast(contrast);
  computeScore({logLuma, base, energy}, kReciprocalTable.data(), contrast, planeAt(frame.scores),
               team);
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

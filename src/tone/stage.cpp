#include "tone/stage.hpp"
#include "base/result.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "gain/gain_table.hpp"
#include "image/format.hpp"
#include "platform/pool_need.hpp"
#include "platform/scratch.hpp"
#include "score/retinex.hpp"
#include "score/score_reference.hpp"
#include "tlux/retinex.h"
#include "tlux/tone_stage.h"
#include "tone/map_reference.hpp"

namespace tlux::detail {
namespace {

// Reference rows that one thread maps at a time.
constexpr std::int32_t kMappedRows = 8;

void releaseScores(MMemMgr manager, TLUX_ENGINE& engine) {
  MMemFree(manager, std::exchange(engine.logGainMap, nullptr));
  engine.logGainWidth = 0;
  engine.logGainHeight = 0;
}

Result allocateScores(MMemMgr manager, TLUX_ENGINE& engine) {
  releaseScores(manager, engine);
  Scratch<std::uint16_t> scores(manager, std::int64_t{engine.refWidth} * engine.refHeight);
  if (!scores) return Result::kNoMemory;
  engine.logGainMap = scores.release();
  engine.logGainWidth = engine.refWidth;
  engine.logGainHeight = engine.refHeight;
  return Result::kOk;
}

// Fails when the engine has no scores of this size. Scores of an earlier frame are good enough:
// tones that lag behind are better than no picture.
Result updateScores(MMemMgr manager, Team& team, TLUX_ENGINE& engine) {
  const bool hasScores = engine.logGainMap != nullptr && engine.logGainWidth == engine.refWidth &&
                         engine.logGainHeight == engine.refHeight;
  const Result allocated = hasScores ? Result::kOk : allocateScores(manager, engine);
  if (allocated != Result::kOk) return allocated;
  const Result scored = scoreReference(manager, team, lumaOf(*referenceOf(engine)),
                                       engine.degammaTable, engine.logGainMap);
  if (hasScores) return Result::kOk;
  if (scored != Result::kOk) releaseScores(manager, engine);
  return scored;
}

Result updateGainTable(MMemMgr manager, TLUX_ENGINE& engine, std::uint32_t strength) {
  if (engine.gainLut != nullptr && engine.gainLutStrength == strength) return Result::kOk;
  return resultOf(TLUX_TonemapGainLUT(manager, &engine, strength));
}

void mapOnTeam(Team& team, const TLUX_ENGINE& engine, Plane<const std::uint8_t> reference,
               Plane<std::uint8_t> mapped) {
  const ToneTables tables = {{engine.degammaTable, engine.gammaTable}, engine.gainLut};
  shareRows(&team, reference.height, kMappedRows, [&](Band part, int /*slot*/) {
    const std::int32_t rows = part.end - part.first;
    mapReference({reference.row(part.first), reference.width, rows, reference.pitch},
                 engine.logGainMap + std::ptrdiff_t{part.first} * reference.width, tables,
                 {mapped.row(part.first), mapped.width, rows, mapped.pitch});
  });
}

// Whether the engine has a reference frame and its blocks lie within the frame.
bool isReferenceFor(const TLUX_ENGINE& engine, const TLUX_IMAGE& source) {
  const TLUX_IMAGE* reference = referenceOf(engine);
  return engine.degammaTable != nullptr && engine.gammaTable != nullptr && reference != nullptr &&
         hasRows(*reference, 0, reference->width) && reference->width == engine.refWidth &&
         reference->height == engine.refHeight && reference->width > 0 && reference->height > 0 &&
         reference->width <= source.width / kReferenceReduction &&
         reference->height <= source.height / kReferenceReduction;
}

bool isRunFrame(const TLUX_IMAGE& image) {
  return image.width >= 0 && image.height >= 0 && planeCountOf(image.format) >= 2 &&
         hasSemiPlanes(image, image.width, image.width);
}

} // namespace

bool isFramePair(const TLUX_IMAGE* source, const TLUX_IMAGE* output) {
  return source != nullptr && output != nullptr && isRunFrame(*source) && isRunFrame(*output) &&
         isSemiPlanar420(source->format) && output->width >= source->width &&
         output->height >= source->height && output->plane[0] != source->plane[0];
}

int participantsFor(const TLUX_IMAGE& source) {
  const bool isSmall = std::int64_t{source.width} * source.height < 8 * kSharedPixels;
  return isSmall ? 1 : usefulParticipants();
}

Result toneMapFrame(MMemMgr manager, WorkerTeam& team, TLUX_ENGINE& engine,
                    const TLUX_IMAGE& source, const TLUX_IMAGE& output, std::uint32_t strength,
                    Rest rest, const TLUX_IMAGE* unfinishedReference) {
  const Plane<const std::uint8_t> reference = lumaOf(*referenceOf(engine));
  const bool isScored = updateScores(manager, team, engine) == Result::kOk &&
                        updateGainTable(manager, engine, strength) == Result::kOk;
  const Scratch<std::uint8_t> mappedLuma(
      manager, isScored ? std::int64_t{reference.height} * reference.pitch : 0);
  if (!isScored || !mappedLuma) {
    if (unfinishedReference != nullptr) {
      fillReferenceRows(source, *unfinishedReference, {0, reference.height}, Components::kChroma);
    }
    return Result::kNoMemory;
  }
  const Plane<std::uint8_t> mapped{mappedLuma.get(), reference.width, reference.height,
                                   reference.pitch};
  mapOnTeam(team, engine, reference, mapped);
  return renderFrame(manager, team, {reference, mapped}, source, output, rest, unfinishedReference);
}

std::int64_t toneMapPoolBytes(std::int32_t width, std::int32_t height,
                              std::int64_t referencePitch) {
  const std::int64_t scores = std::int64_t{width} * height * std::int64_t{sizeof(std::uint16_t)};
  const std::int64_t mapping = poolBlock(height * referencePitch) + renderPoolBytes(width, height);
  return poolBlock(scores) + gainTablePoolBytes() +
         std::max(scoreReferencePoolBytes(width, height), mapping);
}

} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_Tonemapping(MMemMgr manager, TLUX_ENGINE* engine, const TLUX_IMAGE* source,
                          TLUX_IMAGE* output, uint64_t /*reserved*/,
                          const uint32_t* strength) noexcept {
  if (engine == nullptr || strength == nullptr || !isFramePair(source, output) ||
      !isReferenceFor(*engine, *source)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  WorkerTeam team(participantsFor(*source));
  return codeOf(
      toneMapFrame(manager, team, *engine, *source, *output, *strength, Rest::kKept, nullptr));
}

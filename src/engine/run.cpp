#include "base/result.hpp"
#include "engine/reference_frame.hpp"
#include "tlux/copy.h"
#include "tlux/engine.h"
#include "tlux/mark.h"
#include "tone/stage.hpp"

namespace tlux::detail {
namespace {

constexpr std::uint32_t kMode = 1;

bool isEven(std::int32_t side) {
  return side % 2 == 0;
}

// The steps for a source that has a reference frame. They do not copy the source first; after a
// failure the output is a copy.
Result toneMap(MMemMgr manager, WorkerTeam& team, TLUX_ENGINE& engine, const TLUX_IMAGE& source,
               TLUX_IMAGE& output, std::uint32_t strength) {
  // An output of another format or size is left alone where the stage writes nothing.
  const Rest rest = TLUX_IsImageEqual_IMK(&source, &output) != 0 ? Rest::kCopied : Rest::kKept;
  const TLUX_IMAGE& reference = *referenceOf(engine);
  fillReferenceLuma(team, source, reference);
  const Result mapped =
      toneMapFrame(manager, team, engine, source, output, strength, rest, &reference);
  if (mapped != Result::kOk) TLUX_CopyImage_IMK(&output, &source);
  return mapped;
}

Result optimizeFrame(MMemMgr manager, TLUX_ENGINE& engine, const TLUX_IMAGE& source,
                     TLUX_IMAGE& output, std::uint32_t strength) {
  const Result prepared = initReferenceFrame(manager, engine, source);
  if (prepared != Result::kOk) return prepared;
  engine.mode = kMode;
  if (referenceOf(engine) == nullptr) {
    TLUX_CopyImage_IMK(&output, &source);
    TLUX_EmbeddedMark(&output);
    return Result::kOk;
  }
  WorkerTeam team(participantsFor(source));
  const Result mapped = toneMap(manager, team, engine, source, output, strength);
  team.dismiss(); // threads end while the mark is made
  if (mapped != Result::kOk) return mapped;
  TLUX_EmbeddedMark(&output);
  return Result::kOk;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_RunDynamicRangeOptimizationImage(MMemMgr manager, TLUX_ENGINE* engine,
                                               const TLUX_IMAGE* source, uint32_t mode,
                                               TLUX_IMAGE* output, const uint32_t* strength,
                                               uint64_t /*reserved*/) noexcept {
  if (mode != kMode || engine == nullptr || strength == nullptr || !isFramePair(source, output) ||
      !isEven(source->width) || !isEven(source->height)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  return codeOf(optimizeFrame(manager, *engine, *source, *output, *strength));
}

#pragma once

#include <cstdint>

#include "base/result.hpp"
#include "tlux/engine.h"
#include "tone/reference_rows.hpp"
#include "tone/render.hpp"

namespace tlux::detail {

// The engine's reference frame; null before the first frame and when the frame is too small.
inline TLUX_IMAGE*& referenceOf(TLUX_ENGINE& engine) {
  return engine.images[0];
}

inline const TLUX_IMAGE* referenceOf(const TLUX_ENGINE& engine) {
  return engine.images[0];
}

// Whether a run can work on these records: both present, NV12 or NV21, two planes with rows of at
// least the width, room for the whole frame, and different luma planes.
bool isFramePair(const TLUX_IMAGE* source, const TLUX_IMAGE* output);

// How many threads to use for a frame: for a small one, starting a thread takes longer than the
// work.
int participantsFor(const TLUX_IMAGE& source);

// The stage behind TLUX_Tonemapping(), for arguments that fit each other. Of the reference frame it
// reads the luma alone; `unfinishedReference` is as in renderFrame(), and finished whatever the
// result.
Result toneMapFrame(MMemMgr manager, WorkerTeam& team, TLUX_ENGINE& engine,
                    const TLUX_IMAGE& source, const TLUX_IMAGE& output, std::uint32_t strength,
                    Rest rest, const TLUX_IMAGE* unfinishedReference);

// What toneMapFrame() takes out of a pool for a reference frame of this size, including what it
// leaves in the engine.
std::int64_t toneMapPoolBytes(std::int32_t width, std::int32_t height, std::int64_t referencePitch);

} // namespace tlux::detail

#pragma once

#include "tlux/image.h"

namespace tlux::detail {

// Whether a stream accepts these frames: NV21 or NV12 of one format and even size, every plane
// present with rows that fit its pitch, and an output that is the source or separate memory.
bool isStreamPair(const TLUX_IMAGE& source, const TLUX_IMAGE& output);

// Whether a valid pair has the same planes.
inline bool isInPlace(const TLUX_IMAGE& source, const TLUX_IMAGE& output) {
  return source.plane[0] == output.plane[0];
}

} // namespace tlux::detail

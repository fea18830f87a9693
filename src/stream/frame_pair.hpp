#pragma once

#include "tlux/image.h"

namespace tlux::detail {

// Whether a stream can take these: NV21 or NV12 of one format and even size, each plane there with
// rows that fit its pitch, the output being the source or memory of its own.
bool isStreamPair(const TLUX_IMAGE& source, const TLUX_IMAGE& output);

// Whether both have the same planes, given that they are a pair.
inline bool isInPlace(const TLUX_IMAGE& source, const TLUX_IMAGE& output) {
  return source.plane[0] == output.plane[0];
}

} // namespace tlux::detail

#pragma once

#include <cstdint>

#include "base/result.hpp"
#include "stream/crew.hpp"
#include "stream/frame_memory.hpp"
#include "tlux/image.h"

namespace tlux::detail {

// A frame, where its result goes, and how.
struct StreamFrame {
  const TLUX_IMAGE& source;
  const TLUX_IMAGE& output; // the source, or memory of its own
  bool isVideoRange;
  int colour; // per cent
  bool hasFineWindows;

  bool isInPlace() const { return source.plane[0] == output.plane[0]; }
};

// Carries the mapped reference to the luma of the output along the edges of the source, and lets
// its chroma follow. Fails, with nothing written, when the caller's parallel for fails.
Result renderStreamFrame(Crew& crew, const FrameMemory& memory, const StreamFrame& frame);

// The source as it is.
void copyStreamFrame(const StreamFrame& frame);

// What a worker takes out of a pool to filter a frame of that reference width.
std::int64_t filterPoolBytes(std::int32_t refWidth);

} // namespace tlux::detail

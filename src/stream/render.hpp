#pragma once

#include <cstdint>

#include "base/result.hpp"
#include "stream/crew.hpp"
#include "stream/frame_memory.hpp"
#include "tlux/image.h"

namespace tlux::detail {

// A frame, its destination and the settings.
struct StreamFrame {
  const TLUX_IMAGE& source;
  const TLUX_IMAGE& output; // the source, or memory of its own
  bool isVideoRange;
  int colour; // per cent
  bool hasFineWindows;

  bool isInPlace() const { return source.plane[0] == output.plane[0]; }
};

// Transfers the mapped reference to the output's luma, following the edges of the source, and
// adapts its chroma. False, with nothing written, when the caller's parallel for fails.
Result renderStreamFrame(Crew& crew, const FrameMemory& memory, const StreamFrame& frame);

// The source as it is.
void copyStreamFrame(const StreamFrame& frame);

// What one worker takes out of a pool to filter a frame with this reference width.
std::int64_t filterPoolBytes(std::int32_t refWidth);

} // namespace tlux::detail

#pragma once

#include <cstdint>

#include "base/plane.hpp"
#include "base/result.hpp"
#include "platform/worker_team.hpp"
#include "tlux/image.h"

namespace tlux::detail {

// The reference luma before and after mapping, of one size and pitch.
struct MappedReference {
  Plane<const std::uint8_t> luma;
  Plane<const std::uint8_t> mapped;
};

// What a render does with the parts of a frame outside the filtered area.
enum class Rest {
  kKept,   // the output already holds the right content
  kCopied, // from the source; both frames are of one kind and size
};

// Transfers the mapped reference to the output's luma, following the edges of the source, and
// adapts its chroma. After a failure nothing has been filtered, but the chroma rule has run. If
// `referenceFrame` is not null, its chroma is made as well.
Result renderFrame(MMemMgr manager, WorkerTeam& team, const MappedReference& reference,
                   const TLUX_IMAGE& source, const TLUX_IMAGE& output, Rest rest,
                   const TLUX_IMAGE* unfinishedReference);

// What renderFrame() takes out of a pool for a reference of this size.
std::int64_t renderPoolBytes(std::int32_t width, std::int32_t height);

} // namespace tlux::detail

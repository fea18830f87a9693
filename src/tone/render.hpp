#pragma once

#include <cstdint>

#include "base/plane.hpp"
#include "base/result.hpp"
#include "platform/worker_team.hpp"
#include "tlux/image.h"

namespace tlux::detail {

// The reference luma as it is and as it is wanted, of one size and pitch.
struct MappedReference {
  Plane<const std::uint8_t> luma;
  Plane<const std::uint8_t> mapped;
};

// What a render does with the parts of a frame that no filter reaches.
enum class Rest {
  kKept,   // the output holds what it should
  kCopied, // from the source; both frames are of one kind and size
};

// Carries the mapped reference to the luma of the output along the edges of the source, and lets
// its chroma follow. After a failure nothing was filtered, but the chroma rule has run.
// `unfinishedReference`: the reference frame where it has no chroma yet, which is then made when
// the rows of the source are read anyway; otherwise null.
Result renderFrame(MMemMgr manager, WorkerTeam& team, const MappedReference& reference,
                   const TLUX_IMAGE& source, const TLUX_IMAGE& output, Rest rest,
                   const TLUX_IMAGE* unfinishedReference);

// What renderFrame() takes out of a pool for a reference of this size.
std::int64_t renderPoolBytes(std::int32_t width, std::int32_t height);

} // namespace tlux::detail

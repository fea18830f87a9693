#pragma once

#include <cstdint>

#include "base/result.hpp"
#include "platform/worker_team.hpp"
#include "tlux/engine.h"

namespace tlux::detail {

// Makes room for the reference frame of a source in the engine and records the geometry of both.
// The reference frame of the frame before is used again where the size is the same. A source of
// fewer than 16 columns or rows has none.
[[nodiscard]] Result initReferenceFrame(MMemMgr manager, TLUX_ENGINE& engine,
                                        const TLUX_IMAGE& source);

// Reduces the luma of the source by 8 into its reference frame.
void fillReferenceLuma(Team& team, const TLUX_IMAGE& source, const TLUX_IMAGE& reference);

// What the runs of one engine take out of a pool, the engine itself aside, for frames of this size.
std::int64_t runPoolBytes(std::int32_t width, std::int32_t height);

} // namespace tlux::detail

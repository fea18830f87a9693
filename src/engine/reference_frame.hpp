#pragma once

#include <cstdint>

#include "base/result.hpp"
#include "platform/worker_team.hpp"
#include "tlux/engine.h"

namespace tlux::detail {

// Allocates the reference frame of a source in the engine and records the geometry of both. An
// existing reference frame of the same size is reused. A source of fewer than 16 columns or rows
// has none.
[[nodiscard]] Result initReferenceFrame(MMemMgr manager, TLUX_ENGINE& engine,
                                        const TLUX_IMAGE& source);

// Reduces the luma of the source by 8 into its reference frame.
void fillReferenceLuma(Team& team, const TLUX_IMAGE& source, const TLUX_IMAGE& reference);

// What the runs of one engine take out of a pool for frames of this size, without the engine
// itself.
std::int64_t runPoolBytes(std::int32_t width, std::int32_t height);

} // namespace tlux::detail

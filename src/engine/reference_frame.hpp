#pragma once

#include <cstdint>

#include "tlux/engine.h"

namespace tlux {

// Reduces the source by 8 into the engine's reference frame and records the geometry of both. The
// reference frame of the frame before is used again where the size is the same. A source of fewer
// than 16 columns or rows has none.
[[nodiscard]] std::uint32_t initReferenceFrame(MMemMgr manager, TLUX_ENGINE& engine,
                                               const TLUX_IMAGE& source);

} // namespace tlux

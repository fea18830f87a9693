#pragma once

#include <cstdint>

#include "base/plane.hpp"
#include "base/result.hpp"
#include "tlux/platform.h"

namespace tlux::detail {

// Equalizes a plane of at least one pixel tile by tile (see AdaptiveHistogramEqualization) into a
// plane of the same size, which may be the same plane but must not overlap it otherwise. When
// the working memory cannot be allocated, nothing is written.
Result equalizeByTiles(MMemMgr manager, const Plane<const std::uint8_t>& in,
                       const Plane<std::uint8_t>& out);

} // namespace tlux::detail

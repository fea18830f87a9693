#pragma once

#include "base/plane.hpp"
#include "platform/team.hpp"
#include "tlux/stream.h"

namespace tlux::detail {

// Reduces the luma of a frame by 8, as if its last column and row went on up to the next multiple
// of 16. Reference luma is full range whatever the frame's.
void fillStreamReference(Team* team, Plane<const std::uint8_t> luma, std::uint32_t range,
                         Plane<std::uint8_t> reference);

} // namespace tlux::detail

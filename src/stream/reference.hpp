#pragma once

#include "base/plane.hpp"
#include "platform/team.hpp"
#include "tlux/stream.h"

namespace tlux::detail {

// Reduces the luma of a frame by 8, repeating its last column and row up to the next multiple of
// 16. Reference luma is full range, whatever the range of the frame.
void fillStreamReference(Team* team, Plane<const std::uint8_t> luma, std::uint32_t range,
                         Plane<std::uint8_t> reference);

} // namespace tlux::detail

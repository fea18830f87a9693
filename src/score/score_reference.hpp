#pragma once

#include <cstdint>

#include "base/plane.hpp"
#include "base/result.hpp"
#include "platform/team.hpp"
#include "tlux/platform.h"

namespace tlux::detail {

// Writes the Retinex score of every luma code of the reference frame: packed rows of the 16-bit
// patterns that index a gain table. `degamma` maps codes to linear light (12 bit). Fails when the
// working memory cannot be allocated; the scores are then unchanged.
Result scoreReference(MMemMgr manager, Team& team, Plane<const std::uint8_t> reference,
                      const std::uint16_t* degamma, std::uint16_t* scores);

// What scoreReference() takes out of a pool.
std::int64_t scoreReferencePoolBytes(std::int32_t width, std::int32_t height);

} // namespace tlux::detail

#pragma once

#include <cstdint>

#include "base/plane.hpp"
#include "platform/team.hpp"

namespace tlux::detail {

// Halves a plane by 2×2 box means and returns the mean of what was written, before rounding. The
// destination holds at least source size / 2; both are packed and not empty. With a team, rows are
// shared.
double downscale2x2(Plane<const std::int16_t> source, Plane<std::int16_t> destination,
                    Team* team = nullptr);

} // namespace tlux::detail

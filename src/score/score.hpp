#pragma once

#include <cstdint>

#include "base/plane.hpp"
#include "platform/team.hpp"

namespace tlux::detail {

// The inputs of a score, all of one size.
struct ScorePlanes {
  Plane<const std::int16_t> logLuma;
  Plane<const std::int16_t> base;
  Plane<const std::int16_t> deviation;
};

// score = detail · contrast / deviation − log luminance, as 16-bit patterns; reciprocals[d] is
// 524288 / d. `score` may be one of the inputs. With a team, rows are shared.
void computeScore(const ScorePlanes& planes, const std::uint32_t* reciprocals,
                  std::int32_t contrast, Plane<std::uint16_t> score, Team* team = nullptr);

} // namespace tlux::detail

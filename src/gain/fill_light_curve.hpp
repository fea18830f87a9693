#pragma once

#include <cstdint>

namespace tlux::detail {

// Fills 65536 gains, indexed by the 16-bit pattern of a signed score: entry k brightens as entry
// 65536 − k darkens. Entry 32768 is written only when the curve is flat (strength 0 and below).
void fillLightCurve(std::uint16_t* curve, std::int64_t strength, std::int64_t unity);

} // namespace tlux::detail

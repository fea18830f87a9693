// The fast guided filter (windows of 2r × 2r, edges repeated): unrounded coefficients.
#pragma once

#include <cstdint>

#include "base/bands.hpp"
#include "base/plane.hpp"
#include "base/result.hpp"
#include "tlux/platform.h"

// The fit of the guided filter with exact window sums. Truncating means to whole codes before they
// are squared leaves a variance of a few hundred where a bright area is smooth, against a
// regularisation of 20: arcs and specks in skies. Here nothing is rounded before the slope, and the
// maps are smoothed over the whole picture, not within bands.
namespace tlux::detail {

inline constexpr std::int32_t kFineRadius = 16; // 32 × 32 samples, whose sums fit 32 bits

// Memory that either step needs, in bytes.
std::int64_t fineFitScratchBytes(std::int32_t width);

// Coefficients of rows of a plane, packed maps: a in Q10, b in Q8. Within ±15 and ±4080: a slope is
// at most the deviation of the input, at most 127.5, over twice the root of a regularisation of at
// least 20.
Result fitFinely(MMemMgr manager, Band rows, Plane<const std::uint8_t> input,
                 Plane<const std::uint8_t> guide, std::int32_t eps, std::int32_t* a,
                 std::int32_t* b);

// Means of the coefficients over the windows around rows, all of which must exist: rounded, a and b
// in Q10. b includes an offset that turns truncation of the results into rounding.
Result smoothFinely(MMemMgr manager, Band rows, Plane<const std::int32_t> a,
                    Plane<const std::int32_t> b, std::int32_t* smoothA, std::int32_t* smoothB);

} // namespace tlux::detail

// The fast guided filter (windows of 2r × 2r, edges repeated): coefficients of a block.
#pragma once

#include <cstdint>

#include "base/bands.hpp"
#include "base/plane.hpp"
#include "base/result.hpp"
#include "tlux/platform.h"

namespace tlux::detail {

// Memory that guideBlock() needs, in bytes.
std::int64_t guideBlockScratchBytes(std::int32_t width, std::int32_t radius);

// Linear coefficients of the guided filter for rows of a plane; see GuideBlockIntMT(). The maps are
// packed.
Result guideBlock(MMemMgr manager, Band rows, Plane<const std::uint8_t> input,
                  Plane<const std::uint8_t> guide, std::int32_t* a, std::int32_t* b,
                  std::int32_t radius, std::int32_t eps);

// The same for a whole plane in floating point; see GuideBlock().
Result guideBlock(MMemMgr manager, Plane<const float> input, Plane<const float> guide, float* a,
                  float* b, std::int32_t radius, float eps);

} // namespace tlux::detail

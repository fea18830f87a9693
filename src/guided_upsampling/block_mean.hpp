// The fast guided filter (windows of 2r × 2r, edges repeated): smoothing of coefficients.
#pragma once

#include <cstdint>

#include "base/bands.hpp"
#include "base/plane.hpp"
#include "base/result.hpp"
#include "tlux/platform.h"

namespace tlux::detail {

// Memory that smoothBand() needs, in bytes.
std::int64_t blockMeanScratchBytes(std::int32_t width, std::int32_t radius);

// A band of a map and the rows that may be written. Rows outside the band are written only where
// the three-tap groups of a band shorter than the radius extend over its edges.
struct SmoothedBand {
  std::int32_t first;
  std::int32_t rows;
  Band writable;
};

// Smooths a band using only its own rows; see BlockMeanVarIntMTBorder(). The destination is packed.
Result smoothBand(MMemMgr manager, SmoothedBand band, Plane<const std::int32_t> source,
                  std::int32_t* destination, std::int32_t radius);

} // namespace tlux::detail

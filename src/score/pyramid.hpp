#pragma once

#include <cstdint>

#include "base/plane.hpp"
#include "platform/team.hpp"
#include "score/mean.hpp"
#include "score/steadiness.hpp"
#include "tlux/base.h"

namespace tlux::detail {

// One halved level of the pyramid.
struct AmePyramidLevel {
  std::int16_t* data; // in the scratch of the call, width × height samples
  std::int32_t width;
  std::int32_t height;
  std::int32_t live;       // 1: tells a record from stale memory when a pool is inspected
  double mean;             // before rounding
  AmePyramidLevel* larger; // null for the first level, whose larger neighbour is the source
};

struct PyramidScratch {
  std::int16_t* data;
  std::int64_t samples;
};

// What smoothPyramid() takes out of a pool.
std::int64_t pyramidPoolBytes(std::int32_t width, std::int32_t height);

enum class PyramidOutcome {
  kDone,
  kNoLevel,   // the source is one row or one column: the output is unchanged
  kNoScratch, // likewise, because the scratch is too small
  kNoMemory,  // likewise, because a record could not be allocated
};

// Smooths `source` over all scales into `output`, which has the same size and may be the same
// plane. `statistics`, unless null, receives those of the largest level at most 200 wide. With a
// team, the last and largest step is shared if the scratch is large enough.
//
// Rounding shifts the means of the levels away from that of the source. Without `followed` they are
// scaled back to it, by a ratio that near zero is only rounding noise. With `followed` they are
// left alone, and the coarsest levels follow those of earlier frames.
PyramidOutcome smoothPyramid(MMemMgr manager, Plane<const std::int16_t> source,
                             Plane<std::int16_t> output, PyramidScratch scratch,
                             MeanAndRange* statistics, Team* team,
                             FollowedLevels* followed = nullptr);

} // namespace tlux::detail

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
  kNoLevel,   // the source is one row or one column: the output is as it was
  kNoScratch, // likewise, the scratch being too short
  kNoMemory,  // likewise, a record could not be had
};

// Smooths `source` over all scales into `output`, which has its size and may be the same plane.
// `statistics` receives those of the largest level that is at most 200 wide; null: not wanted. With
// a team, the last and largest step is shared where the scratch allows it.
//
// Rounding moves the means of the levels off that of the source. They are scaled back to it, which
// near zero is a ratio of rounding noise, unless `followed` is given: then they stay as they are,
// and the coarsest follow those of earlier frames.
PyramidOutcome smoothPyramid(MMemMgr manager, Plane<const std::int16_t> source,
                             Plane<std::int16_t> output, PyramidScratch scratch,
                             MeanAndRange* statistics, Team* team,
                             FollowedLevels* followed = nullptr);

} // namespace tlux::detail

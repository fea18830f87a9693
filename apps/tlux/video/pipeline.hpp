#pragma once

#include <cstdint>

#include "output/progress.hpp"
#include "output/report.hpp"
#include "stream/enhancer.hpp"
#include "video/frame_stream.hpp"

namespace tlux::app {

/** Times for processing a stream; the stages overlap, so their sum exceeds the whole. */
struct StreamTimings {
  int64_t frames = 0;
  double whole = 0; // milliseconds
  Timings busy;
};

/**
 * Passes all frames from @p source through @p enhancer to @p sink and finishes it. Reading, the
 * library and writing run in separate threads with a few frames between them. If one fails, the
 * others stop and its failure is thrown.
 */
StreamTimings enhanceStream(FrameSource& source, Enhancer& enhancer, FrameSink& sink,
                            Progress& progress);

/** "450 frames in 20.1 s, 22.4 per second". */
std::string describeSpeed(const StreamTimings& timings);

/** How long each stage was busy, as shares of the whole time. */
std::string describeShares(const StreamTimings& timings);

} // namespace tlux::app

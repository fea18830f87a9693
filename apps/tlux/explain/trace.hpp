#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "explain/stages.hpp"
#include "media/av.hpp"

namespace tlux::app {

/** What a piece of the run takes. */
struct Cost {
  double milliseconds = 0; // of the fastest of several runs
  int64_t peakBytes = 0;   // the most it has in use at one time
  int64_t keptBytes = 0;   // of that, what it leaves for what comes after it
};

/** One run and everything it decided on its way. Planes and maps are packed. */
struct Trace {
  uint32_t strength = 0;
  FramePtr output; // as the library makes it, like the frame that went in
  int width = 0;   // of the reference frame
  int height = 0;
  std::array<std::vector<uint8_t>, 3> reference; // Y, Cb, Cr
  std::vector<int16_t> scores;                   // natural logarithm in Q10
  std::vector<uint16_t> gainTable;               // Q10, by the 16-bit pattern of a score
  std::vector<uint8_t> mapped;                   // luma of the reference after its gains
  std::array<Cost, kStages.size()> stages;
  Cost run; // the same in one call

  size_t pixels() const { return scores.size(); }
  double gainOf(size_t pixel) const {
    return gainTable[static_cast<uint16_t>(scores[pixel])] / 1024.0;
  }
};

/**
 * Runs the library on a frame of at least 16×16, in one call and stage by stage, and makes sure
 * that both come to the same. Rows are taken without padding.
 */
Trace traceRun(const AVFrame& frame, uint32_t strength);

} // namespace tlux::app

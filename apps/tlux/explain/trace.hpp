#pragma once

#include <cstdint>
#include <vector>

#include "explain/stage_units.hpp"
#include "media/av.hpp"
#include "stream/enhancer.hpp"

namespace tlux::app {

/** The cost of a run. */
struct Cost {
  double firstMilliseconds = 0; // of the first frame, which starts threads and allocates memory
  double milliseconds = 0;      // of the fastest of several later frames
  uint64_t bytes = 0;           // of a pool for such frames
};

/** One run and its intermediate results. Planes and maps are packed. */
struct Trace {
  uint32_t strength = 0;
  FramePtr output;
  int width = 0; // of the reference frame
  int height = 0;
  std::vector<uint8_t> reference;  // luma
  std::vector<int16_t> scores;     // natural logarithm in Q10
  std::vector<uint16_t> gains;     // Q10
  std::vector<uint16_t> gainTable; // Q10, by the 16-bit pattern of a score
  std::vector<uint8_t> mapped;     // luma of the reference after its gains
  Cost cost;

  size_t pixels() const { return scores.size(); }
  double gainOf(size_t pixel) const { return factorOf(gains[pixel]); }
};

/** Enhances a frame several times and keeps the library's report. */
Trace traceRun(const AVFrame& frame, const Tones& tones);

} // namespace tlux::app

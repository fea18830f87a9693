#pragma once

#include <cstdint>
#include <memory>

#include "media/av.hpp"
#include "tlux.h"

namespace tlux::app {

/** One engine of the library, for any number of frames one after the other. */
class Engine {
 public:
  Engine();

  /** The frame as the library makes it, with layout, row length and properties of the source. */
  FramePtr run(const AVFrame& source, uint32_t strength);

  /** The same into a frame of that layout, whose properties stay as they are. */
  void run(const AVFrame& source, uint32_t strength, AVFrame& result);

  /** As run(), but without strips at the right and bottom where a side is not a multiple of 16. */
  FramePtr runSeamlessly(const AVFrame& source, uint32_t strength);

 private:
  struct Destroy {
    void operator()(TLUX_ENGINE* engine) const { TLUX_Uninit(nullptr, engine); }
  };
  std::unique_ptr<TLUX_ENGINE, Destroy> engine_;
};

} // namespace tlux::app

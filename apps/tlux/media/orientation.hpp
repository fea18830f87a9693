#pragma once

#include "media/av.hpp"

namespace tlux::app {

/** How stored pixels turn into upright ones: first exchange of the axes, then the flips. */
struct Orientation {
  bool exchangeAxes = false;
  bool flipX = false;
  bool flipY = false;

  bool isUpright() const { return !exchangeAxes && !flipX && !flipY; }
};

/** What the file says, as display matrix or EXIF tag; upright where it says nothing. */
Orientation orientationOf(const AVFrame& frame);

/** The turned frame, with its crop; for NV12, NV21 and gray frames. */
FramePtr turn(FramePtr frame, Orientation orientation);

} // namespace tlux::app

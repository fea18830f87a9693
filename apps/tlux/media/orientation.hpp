#pragma once

#include "media/av.hpp"

namespace tlux::app {

/** How to turn stored pixels upright: first swap the axes, then flip. */
struct Orientation {
  bool exchangeAxes = false;
  bool flipX = false;
  bool flipY = false;

  bool isUpright() const { return !exchangeAxes && !flipX && !flipY; }
};

/** From the display matrix or EXIF tag of the file; upright if it has none. */
Orientation orientationOf(const AVFrame& frame);

/** The rotated frame, including its crop; for NV12, NV21 and gray frames. */
FramePtr turn(FramePtr frame, Orientation orientation);

} // namespace tlux::app

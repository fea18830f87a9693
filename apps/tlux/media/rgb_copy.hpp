#pragma once

#include "media/av.hpp"

namespace tlux::app {

// Pictures that are put together from parts are RGB24: no chroma is shared across a seam.

/** What is shown of a frame: its margins cut off, with its colour profile. */
FramePtr toRgb(const AVFrame& frame);

/** Width and height of the picture at @p width, in proportion. */
int heightAtWidth(const AVFrame& picture, int width);

/** @p rgb at a smaller width, or as it is where it is no wider. */
FramePtr shrinkToWidth(FramePtr rgb, int width);

} // namespace tlux::app

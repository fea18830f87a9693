#pragma once

#include "media/av.hpp"

namespace tlux::app {

// Pictures assembled from parts are RGB24, so no chroma is shared across a seam.

/** The visible part of a frame, without margins, with its colour profile. */
FramePtr toRgb(const AVFrame& frame);

/** Width and height of the picture at @p width, in proportion. */
int heightAtWidth(const AVFrame& picture, int width);

/** @p rgb scaled down to the width; unchanged if it is not wider. */
FramePtr shrinkToWidth(FramePtr rgb, int width);

} // namespace tlux::app

#pragma once

#include "media/av.hpp"
#include "tlux.h"

namespace tlux::app {

// The frames handed to the library: NV12 or NV21, even sizes, both planes in one block with the
// same row length, full range. A picture of odd size has an extra column or row, removed again by
// the frame's crop fields.

/** @p pitch bytes from row to row in both planes; all bytes are zero. */
FramePtr makeSemiPlanar(AVPixelFormat format, int width, int height, int pitch);

/** Same layout, size, row length, crop and colour properties as @p model; pixels are zero. */
FramePtr makeSemiPlanarLike(const AVFrame& model);

/** A library image over the frame's pixels. */
TLUX_IMAGE imageOf(const AVFrame& frame);

/** Size of both planes in bytes. */
int64_t semiPlanarBytes(int height, int pitch);

} // namespace tlux::app

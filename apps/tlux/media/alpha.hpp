#pragma once

#include "media/av.hpp"

namespace tlux::app {

/** The transparency of a picture as a gray frame; null where every pixel is opaque. */
FramePtr extractAlpha(const AVFrame& picture);

/** Puts @p alpha into a picture of the same size, in a layout with 8-bit alpha. */
void insertAlpha(const AVFrame& alpha, AVFrame& picture);

} // namespace tlux::app

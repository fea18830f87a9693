#pragma once

#include "media/av.hpp"

namespace tlux::app {

/** The transparency of a picture as a gray frame; null if every pixel is opaque. */
FramePtr extractAlpha(const AVFrame& picture);

/** Stores @p alpha in a picture of the same size whose layout has 8-bit alpha. */
void insertAlpha(const AVFrame& alpha, AVFrame& picture);

} // namespace tlux::app

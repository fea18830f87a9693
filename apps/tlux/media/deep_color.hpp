#pragma once

#include "media/av.hpp"

namespace tlux::app {

/**
 * An RGB24 copy of an RGB picture with more than 8 bits a sample, null for any other layout.
 * FFmpeg's converter treats such samples as multiples of 256 and dithers them, off by up to two
 * levels; here 65535 becomes 255 and everything is rounded.
 */
FramePtr reduceDeepColor(const AVFrame& picture);

} // namespace tlux::app

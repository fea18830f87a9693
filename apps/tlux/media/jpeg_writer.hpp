#pragma once

#include "media/av.hpp"
#include "media/picture_file.hpp"

namespace tlux::app {

/**
 * Encodes a full-range planar frame as a progressive JPEG file: gray, or YCbCr with full or halved
 * chroma. Includes the frame's RGB profile. @param quality 1 to 100, libjpeg's usual scale. Throws
 * std::runtime_error.
 */
Bytes encodeJpeg(const AVFrame& frame, int quality);

} // namespace tlux::app

#pragma once

#include "media/av.hpp"
#include "media/picture_file.hpp"

namespace tlux::app {

/**
 * A progressive JPEG file of a frame with planes of full range: gray, or YCbCr with chroma whole or
 * halved. An RGB profile of the frame goes along. @param quality 1 to 100, the scale that libjpeg
 * made customary. Throws std::runtime_error.
 */
Bytes encodeJpeg(const AVFrame& frame, int quality);

} // namespace tlux::app

#pragma once

#include "media/av.hpp"

namespace tlux::app {

/** Gives the encoder the usual quantisation tables of a quality from 1 to 100. */
void setJpegQuality(AVCodecContext& encoder, int quality);

} // namespace tlux::app

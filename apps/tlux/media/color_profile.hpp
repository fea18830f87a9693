#pragma once

#include "media/av.hpp"

namespace tlux::app {

/** Hands an embedded RGB profile on; profiles for gray or CMYK do not fit converted pixels. */
void copyColorProfile(const AVFrame& from, AVFrame& to);

bool hasColorProfile(const AVFrame& frame);

} // namespace tlux::app

#pragma once

#include <cstdint>
#include <optional>

#include "media/av.hpp"

namespace tlux::app {

/** TLUX_RGB and its like for a layout of 8-bit samples that tlux/rgb.h knows. */
std::optional<uint32_t> packedRgbLayoutOf(int format);

/**
 * An RGB24 copy of an RGB picture in any other layout; null for those and for what is not RGB.
 * FFmpeg's converter treats samples of more than 8 bits as multiples of 256 and dithers them, off
 * by up to two levels; here 65535 becomes 255 and everything is rounded.
 */
FramePtr packRgb(const AVFrame& picture);

} // namespace tlux::app

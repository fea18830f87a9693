#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "media/av.hpp"

namespace tlux::app {

/** The colour space of an ICC profile's device side, such as "RGB ", "GRAY" or "CMYK". */
std::string_view profileSpace(std::span<const uint8_t> profile);

/** Copies an embedded RGB profile; gray or CMYK profiles do not apply to converted pixels. */
void copyColorProfile(const AVFrame& from, AVFrame& to);

bool hasColorProfile(const AVFrame& frame);

} // namespace tlux::app

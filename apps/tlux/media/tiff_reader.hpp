#pragma once

#include <cstdint>
#include <span>

#include "media/decoded_picture.hpp"

namespace tlux::app {

/** The first full page of a TIFF file. Throws std::runtime_error. */
DecodedPicture readTiff(std::span<const uint8_t> content);

} // namespace tlux::app

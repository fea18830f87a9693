#pragma once

#include <cstdint>
#include <span>

#include "media/decoded_picture.hpp"

namespace tlux::app {

/** The main picture of a HEIC or AVIF file. Throws std::runtime_error. */
DecodedPicture readHeif(std::span<const uint8_t> content);

} // namespace tlux::app

#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media/decoded_picture.hpp"

namespace tlux::app {

/**
 * Decodes a JPEG file, or as much as possible of a damaged one. Returns nothing for rare kinds that
 * libjpeg does not support (lossless, 12 bits). Throws std::runtime_error if nothing can be
 * decoded.
 */
std::optional<DecodedPicture> readJpeg(std::span<const uint8_t> content);

} // namespace tlux::app

#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media/decoded_picture.hpp"

namespace tlux::app {

/**
 * A JPEG file; of one that is damaged, what can be decoded. Nothing for the rare kinds that libjpeg
 * does not know (lossless, 12 bits). Throws std::runtime_error where nothing can be decoded.
 */
std::optional<DecodedPicture> readJpeg(std::span<const uint8_t> content);

} // namespace tlux::app

#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "media/picture_file.hpp"

namespace tlux::app {

// A JPEG XL file is either a bare codestream or boxes, one of which contains the codestream.

/** The content of the first box of a kind; empty if there is none. */
std::span<const uint8_t> findJxlBox(std::span<const uint8_t> file, std::string_view kind);

/** The same picture in boxes, with boxes for EXIF and XMP unless they are empty. */
Bytes addJxlBoxes(Bytes file, std::span<const uint8_t> exif, std::string_view xmp);

} // namespace tlux::app

#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "media/picture_file.hpp"

namespace tlux::app {

// A JPEG XL file is either bare code or boxes, one of which holds the code.

/** The content of the first box of a kind; empty where there is none. */
std::span<const uint8_t> findJxlBox(std::span<const uint8_t> file, std::string_view kind);

/** The same picture in boxes, with those for EXIF data and XMP if they are not empty. */
Bytes addJxlBoxes(Bytes file, std::span<const uint8_t> exif, std::string_view xmp);

} // namespace tlux::app

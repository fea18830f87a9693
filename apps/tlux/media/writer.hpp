#pragma once

#include <filesystem>

#include "media/picture.hpp"
#include "media/picture_format.hpp"

namespace tlux::app {

/** The content of a picture file. @param quality as below. Throws AvError. */
PacketPtr encodePicture(const Picture& picture, const PictureFormat& format, int quality);

/**
 * Encodes and writes a picture; the final name appears only once the file is whole.
 * @param quality 1 to 100, for the formats that lose detail. Throws Error naming the file.
 */
void writePicture(const Picture& picture, const std::filesystem::path& file,
                  const PictureFormat& format, int quality);

} // namespace tlux::app

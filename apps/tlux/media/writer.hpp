#pragma once

#include <filesystem>

#include "media/picture.hpp"
#include "media/picture_format.hpp"

namespace tlux::app {

struct PictureEncoding {
  int quality = 92;         // 1 to 100, for the formats that lose detail
  bool wholeChroma = false; // for JPEG, AVIF and HEIC, which usually halve it in both directions
};

/** The content of a picture file. Throws AvError or std::runtime_error. */
Bytes encodePicture(const Picture& picture, const PictureFormat& format,
                    const PictureEncoding& encoding);

/**
 * Encodes and writes a picture; the file gets its name only when complete. Throws Error
 * naming the file.
 */
void writePicture(const Picture& picture, const std::filesystem::path& file,
                  const PictureFormat& format, const PictureEncoding& encoding);

} // namespace tlux::app

#pragma once

#include <filesystem>

#include "media/decoded_picture.hpp"
#include "media/picture_file.hpp"

namespace tlux::app {

/** Reads any single picture that FFmpeg's libraries read. Throws AvError or std::runtime_error. */
DecodedPicture readByCodec(const std::filesystem::path& file, const PictureFile& picture);

} // namespace tlux::app

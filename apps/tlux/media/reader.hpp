#pragma once

#include <filesystem>

#include "media/picture.hpp"

namespace tlux::app {

/** Reads any single picture that FFmpeg's libraries read. Throws Error naming the file. */
Picture readPicture(const std::filesystem::path& file);

} // namespace tlux::app

#pragma once

#include <filesystem>

#include "media/picture.hpp"

namespace tlux::app {

/** Reads any single picture that FFmpeg's libraries read. Throws Error naming the file. */
Picture readPicture(const std::filesystem::path& file);

/** Throws Error naming the file unless it is there, can be opened and is not empty. */
void checkReadable(const std::filesystem::path& file);

} // namespace tlux::app

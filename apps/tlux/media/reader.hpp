#pragma once

#include <filesystem>

#include "media/picture.hpp"

namespace tlux::app {

struct PictureReading {
  bool isStrict = false;     // damaged pictures are refused
  bool keepsMetadata = true; // also reads metadata
};

/** Reads any single picture; '-' means standard input. Throws Error naming the file. */
Picture readPicture(const std::filesystem::path& file, const PictureReading& options = {});

} // namespace tlux::app

#pragma once

#include <filesystem>

#include "media/picture.hpp"

namespace tlux::app {

struct PictureReading {
  bool isStrict = false;     // damaged pictures are refused
  bool keepsMetadata = true; // reads what the file tells beside the pixels
};

/** Reads any single picture; a name of '-' stands for standard input. Throws Error naming it. */
Picture readPicture(const std::filesystem::path& file, const PictureReading& options = {});

} // namespace tlux::app

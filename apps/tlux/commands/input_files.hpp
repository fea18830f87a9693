#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "base/errors.hpp"

namespace tlux::app {

/** A file to read, with the folder it was found in, relative to the given one. */
struct InputFile {
  std::filesystem::path path;
  std::filesystem::path folder; // empty for a file given explicitly
};

/** Which files to take from folders. */
struct FolderRules {
  std::string pattern;           // shell pattern for file names; empty for pictures and videos
  bool raw = false;              // raw frames instead of pictures and videos
  std::filesystem::path skipped; // the output folder, which is not entered
};

struct InputFiles {
  std::vector<InputFile> files;
  std::vector<Error> failures; // folders that cannot be read or contain no suitable file
};

/**
 * The given files, and those in and below the given folders, sorted by name. Hidden files and
 * folders and links to folders are skipped.
 */
InputFiles findInputs(const std::vector<std::filesystem::path>& names, const FolderRules& rules);

} // namespace tlux::app

#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "base/errors.hpp"

namespace tlux::app {

/** A file to read, with the folder it was found in, counted from the one that was named. */
struct InputFile {
  std::filesystem::path path;
  std::filesystem::path folder; // empty for a file that was named itself
};

/** What is taken from folders. */
struct FolderRules {
  std::string pattern;           // of file names, as a shell's; empty for pictures and videos
  bool raw = false;              // raw frames in place of pictures and videos
  std::filesystem::path skipped; // a folder that is not entered: that of the results
};

struct InputFiles {
  std::vector<InputFile> files;
  std::vector<Error> failures; // folders that cannot be read or hold nothing to take
};

/**
 * The files named, and those in the folders named and below them, sorted by name. Hidden files and
 * folders and links to folders are left out.
 */
InputFiles findInputs(const std::vector<std::filesystem::path>& names, const FolderRules& rules);

} // namespace tlux::app

#include "commands/input_files.hpp"

#include <fnmatch.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <system_error>

#include "media/input_container.hpp"
#include "media/picture_format.hpp"
#include "output/output_file.hpp"

namespace tlux::app {

namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;

// Extensions used by cameras, scanners and phones. Other files must be named explicitly.
constexpr std::array kMedia = {"jpg"sv,  "jpeg"sv, "png"sv,  "webp"sv, "tif"sv, "tiff"sv, "bmp"sv,
                               "gif"sv,  "heic"sv, "heif"sv, "avif"sv, "jxl"sv, "ppm"sv,  "pgm"sv,
                               "exr"sv,  "tga"sv,  "jp2"sv,  "mp4"sv,  "mov"sv, "m4v"sv,  "mkv"sv,
                               "webm"sv, "avi"sv,  "mpg"sv,  "mpeg"sv, "ts"sv,  "mts"sv,  "m2ts"sv,
                               "3gp"sv,  "wmv"sv,  "flv"sv,  "ogv"sv,  "y4m"sv};
constexpr std::array kRaw = {"nv21"sv, "nv12"sv, "yuv"sv, "raw"sv};

template <size_t Count>
bool contains(const std::array<std::string_view, Count>& extensions, const fs::path& name) {
  return std::find(extensions.begin(), extensions.end(), extensionOf(name)) != extensions.end();
}

bool isHidden(const fs::path& path) {
  return path.filename().string().starts_with('.');
}

/** Walks one of the given folders. */
class FolderWalk {
 public:
  FolderWalk(const FolderRules& rules, InputFiles& found) : rules_(rules), found_(found) {}

  void enter(const fs::path& folder, const fs::path& below) {
    for (const fs::directory_entry& entry : entriesOf(folder)) {
      std::error_code error;
      if (isHidden(entry.path())) continue;
      if (entry.is_directory(error)) {
        if (!entry.is_symlink(error) && !isSkipped(entry.path())) {
          enter(entry.path(), below / entry.path().filename());
        }
      } else if (entry.is_regular_file(error) && isWanted(entry.path())) {
        found_.files.push_back({entry.path(), below});
      }
    }
  }

 private:
  std::vector<fs::directory_entry> entriesOf(const fs::path& folder) {
    std::vector<fs::directory_entry> entries;
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
      entries.push_back(*at);
    }
    if (error) found_.failures.push_back(unreadable(folder, error.message()));
    std::sort(entries.begin(), entries.end());
    return entries;
  }

  bool isSkipped(const fs::path& folder) const {
    std::error_code error;
    return fs::equivalent(folder, rules_.skipped, error);
  }

  bool isWanted(const fs::path& file) const {
    if (!rules_.pattern.empty()) {
      return fnmatch(rules_.pattern.c_str(), file.filename().c_str(), 0) == 0;
    }
    return rules_.raw ? contains(kRaw, file) : contains(kMedia, file);
  }

  const FolderRules& rules_;
  InputFiles& found_;
};

} // namespace

InputFiles findInputs(const std::vector<fs::path>& names, const FolderRules& rules) {
  InputFiles found;
  for (const fs::path& name : names) {
    std::error_code error;
    if (isPipe(name) || !fs::is_directory(name, error)) {
      found.files.push_back({name, {}});
      continue;
    }
    const size_t before = found.files.size() + found.failures.size();
    FolderWalk(rules, found).enter(name, {});
    if (found.files.size() + found.failures.size() == before) {
      found.failures.push_back(unreadable(name, "the folder contains no file to enhance"));
    }
  }
  return found;
}

} // namespace tlux::app

#include <unistd.h>

#include <set>

#include "commands/enhance_job.hpp"
#include "errors.hpp"
#include "output_file.hpp"

extern "C" {
#include <libavutil/parseutils.h>
}

namespace tlux::app {

namespace {

namespace fs = std::filesystem;

bool isRaw(const EnhanceOptions& options) {
  return !options.picture.size.empty();
}

/** Written to standard output, frames keep the form they came in. */
std::string extensionFor(const fs::path& target, const EnhanceOptions& options) {
  if (!options.as.empty()) return options.as;
  if (!isPipe(target)) return extensionOf(target);
  return isRaw(options) ? options.picture.format : "y4m";
}

bool canBeWritten(const fs::path& name) {
  return findPictureFormat(name) != nullptr || findVideoFormat(extensionOf(name)) != nullptr;
}

/** In a folder a result keeps its name; kinds of file that cannot be written become PNG. */
fs::path nameInFolder(const fs::path& input, const EnhanceOptions& options) {
  if (isPipe(input)) throw Error(ExitCode::kUsage, "-", "has no name to keep in a folder; use -o");
  fs::path name = options.folder / input.filename();
  if (!options.as.empty()) return name.replace_extension(options.as);
  if (isRaw(options)) return name.replace_extension(options.picture.format);
  return canBeWritten(name) ? name : name.replace_extension("png");
}

Job planJob(const fs::path& input, const fs::path& target, const EnhanceOptions& options) {
  if (isPipe(target) && isatty(STDOUT_FILENO) == 1) {
    throw Error(ExitCode::kUsage, "-o", "will not write to a terminal");
  }
  const std::string extension = extensionFor(target, options);
  if (const VideoFormat* format = findVideoFormat(extension)) {
    return {input, {target, nullptr, AV_PIX_FMT_NONE}, format};
  }
  const std::optional<Output> output = findOutput(target, extension, options.picture);
  if (!output) {
    throw Error(ExitCode::kUsage, options.as.empty() ? target.string() : "--as " + options.as,
                "the extension of the output must be one of " + writableExtensions() +
                    ", nv21, nv12, " + writableVideoExtensions());
  }
  return {input, *output, nullptr};
}

} // namespace

std::vector<Job> planJobs(const EnhanceOptions& options) {
  const bool toFolder = !options.folder.empty();
  if (toFolder == !options.output.empty()) {
    throw Error(ExitCode::kUsage, "enhance", "needs either -o FILE or -d FOLDER");
  }
  if (!toFolder && options.inputs.size() > 1) {
    throw Error(ExitCode::kUsage, "-o", "takes one input; use -d FOLDER for several");
  }
  std::vector<Job> jobs;
  std::set<fs::path> taken;
  for (const fs::path& input : options.inputs) {
    const fs::path target = toFolder ? nameInFolder(input, options) : options.output;
    jobs.push_back(planJob(input, target, options));
    if (!taken.insert(target).second) {
      throw Error(ExitCode::kUsage, target.string(), "would be written by two of the inputs");
    }
  }
  for (const Job& job : jobs) {
    for (const fs::path& input : options.inputs) {
      checkKeepsInput(job.output, input);
    }
  }
  return jobs;
}

JobSettings settingsFor(const EnhanceOptions& options) {
  JobSettings settings = {options, rawInputLayout(options.picture)};
  if (av_parse_video_rate(&settings.fps, options.fps.c_str()) < 0) {
    throw Error(ExitCode::kUsage, "--fps", "'" + options.fps + "' is not a number of frames");
  }
  if (options.codec.empty()) return settings;
  const AVCodec* encoder = avcodec_find_encoder_by_name(options.codec.c_str());
  if (encoder == nullptr || encoder->type != AVMEDIA_TYPE_VIDEO) {
    throw Error(ExitCode::kUsage, "--codec", "there is no video encoder '" + options.codec + "'");
  }
  return settings;
}

} // namespace tlux::app

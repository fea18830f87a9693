#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <optional>
#include <set>
#include <utility>

#include "base/errors.hpp"
#include "commands/enhance_job.hpp"
#include "commands/input_files.hpp"
#include "output/output_file.hpp"

extern "C" {
#include <libavutil/parseutils.h>
}

namespace tlux::app {

namespace {

namespace fs = std::filesystem;

bool isRaw(const EnhanceOptions& options) {
  return !options.picture.size.isEmpty();
}

/** Frames written to standard output keep their format. */
std::string extensionFor(const fs::path& target, const EnhanceOptions& options) {
  if (!options.as.empty()) return options.as;
  if (!isPipe(target)) return extensionOf(target);
  return isRaw(options) ? options.picture.format : "y4m";
}

bool canBeWritten(const fs::path& name) {
  return findPictureFormat(name) != nullptr || findVideoFormat(extensionOf(name)) != nullptr;
}

/** The pattern with its placeholders filled in. */
std::string fillPattern(const std::string& pattern, const std::string& name, uint32_t strength) {
  try {
    return fmt::format(fmt::runtime(pattern), fmt::arg("name", name),
                       fmt::arg("strength", strength));
  } catch (const fmt::format_error&) {
    throw Error(ExitCode::kUsage, "--name",
                fmt::format("'{}' may contain {{name}} and {{strength}} in braces", pattern));
  }
}

/** Results in a folder keep their names; formats that cannot be written become PNG. */
fs::path nameInFolder(const InputFile& input, const EnhanceOptions& options) {
  if (isPipe(input.path)) {
    throw Error(ExitCode::kUsage, "-", "has no name to use in a folder; use -o");
  }
  std::string extension = input.path.extension().string();
  if (!options.as.empty()) {
    extension = "." + options.as;
  } else if (isRaw(options)) {
    extension = "." + options.picture.format;
  } else if (!canBeWritten(input.path)) {
    extension = ".png";
  }
  const std::string name =
      fillPattern(options.name, input.path.stem().string(), options.picture.tones.strength);
  return options.folder / input.folder / (name + extension);
}

Job planJob(const fs::path& input, const fs::path& target, const EnhanceOptions& options) {
  if (isPipe(target) && isatty(STDOUT_FILENO) == 1) {
    throw Error(ExitCode::kUsage, "-o", "refuses to write to a terminal");
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

void checkOptions(const EnhanceOptions& options) {
  const bool toFolder = !options.folder.empty();
  if (toFolder == !options.output.empty()) {
    throw Error(ExitCode::kUsage, "enhance", "needs either -o FILE or -d FOLDER");
  }
  if (!toFolder && options.inputs.size() > 1) {
    throw Error(ExitCode::kUsage, "-o", "takes one input; use -d FOLDER for several");
  }
  if (options.json && isPipe(options.output)) {
    throw Error(ExitCode::kUsage, "--json",
                "cannot be used when the result goes to standard output");
  }
  if (options.name.find('/') != std::string::npos) {
    throw Error(ExitCode::kUsage, "--name", "names files, not folders");
  }
}

/** Identifies a file regardless of its name; nothing if it does not exist. */
using FileId = std::optional<std::pair<dev_t, ino_t>>;

FileId idOf(const fs::path& file) {
  struct stat status = {};
  if (stat(file.c_str(), &status) != 0) return std::nullopt;
  return std::pair(status.st_dev, status.st_ino);
}

std::set<FileId> idsOf(const std::vector<InputFile>& inputs) {
  std::set<FileId> ids;
  for (const InputFile& input : inputs) {
    const FileId id = idOf(input.path);
    if (id) ids.insert(id);
  }
  return ids;
}

/** An output file with all inputs that would be written to it. */
struct Target {
  fs::path file;
  std::vector<fs::path> inputs;
};

/** In the order of the inputs. */
std::vector<Target> targetsOf(const std::vector<InputFile>& inputs, const EnhanceOptions& options) {
  std::vector<Target> targets;
  std::map<fs::path, size_t> places;
  for (const InputFile& input : inputs) {
    const fs::path file = options.folder.empty() ? options.output : nameInFolder(input, options);
    const auto [place, isNew] = places.try_emplace(file.lexically_normal(), targets.size());
    if (isNew) targets.push_back({file, {}});
    targets[place->second].inputs.push_back(input.path);
  }
  return targets;
}

std::string listOf(const std::vector<fs::path>& files) {
  std::string list = files.front().string();
  for (size_t i = 1; i < files.size(); ++i) {
    list += (i + 1 == files.size() ? " and " : ", ") + files[i].string();
  }
  return list;
}

} // namespace

Plan planJobs(const EnhanceOptions& options) {
  checkOptions(options);
  const bool toFolder = !options.folder.empty();
  InputFiles inputs =
      toFolder ? findInputs(options.inputs, {options.match, isRaw(options), options.folder})
               : InputFiles{{{options.inputs.front(), {}}}, {}};
  Plan plan;
  plan.refusals = std::move(inputs.failures);
  const std::set<FileId> inputIds = idsOf(inputs.files);
  for (const Target& target : targetsOf(inputs.files, options)) {
    try {
      if (target.inputs.size() > 1) {
        throw Error(ExitCode::kUsage, target.file.string(),
                    "would be written by " + listOf(target.inputs));
      }
      const Job job = planJob(target.inputs.front(), target.file, options);
      const FileId present = idOf(target.file);
      if (inputIds.contains(present)) throw overwritesInput(target.file);
      const bool isSkipped = options.skipExisting && present;
      if (!isSkipped) checkMayReplace(target.file, options.picture);
      (isSkipped ? plan.skipped : plan.jobs).push_back(job);
    } catch (const Error& error) {
      plan.refusals.push_back(error);
    }
  }
  return plan;
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

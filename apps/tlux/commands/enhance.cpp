#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

#include "commands/command.hpp"
#include "commands/picture_options.hpp"
#include "engine.hpp"

namespace tlux::app {

namespace {

namespace fs = std::filesystem;

struct EnhanceOptions {
  std::vector<fs::path> inputs;
  fs::path output;
  fs::path folder;
  PictureOptions picture;
};

struct Job {
  fs::path input;
  Output output;
};

constexpr const char* kExamples =
    "Examples:\n"
    "  tlux enhance photo.jpg -o better.jpg\n"
    "  tlux enhance photo.jpg -o better.png --strength 80\n"
    "  tlux enhance holiday/*.jpg -d enhanced --quality 95\n"
    "  tlux enhance frame.nv21 -o better.nv21 --size 1920x1080 --format nv21\n"
    "\n"
    "The extension of the output chooses its format. Pictures are turned upright; an embedded\n"
    "colour profile is kept in PNG and JPEG, other metadata is left behind.\n"
    "With several files a failed one does not stop the others; the exit code tells the worst:\n"
    "0 done, 1 wrong usage, 2 unreadable input, 3 failed processing or writing.";

/** In a folder a result keeps its name; kinds of file that cannot be written become PNG. */
fs::path nameInFolder(const fs::path& folder, const fs::path& input,
                      const EnhanceOptions& options) {
  fs::path name = folder / input.filename();
  const bool isRaw = !options.picture.size.empty();
  if (isRaw) return name.replace_extension(options.picture.format);
  return findPictureFormat(name) != nullptr ? name : name.replace_extension("png");
}

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
    const fs::path target =
        toFolder ? nameInFolder(options.folder, input, options) : options.output;
    jobs.push_back({input, chooseOutput(target, options.picture)});
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

void makeFolder(const fs::path& folder) {
  if (folder.empty()) return;
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) throw Error(ExitCode::kFailed, folder.string(), error.message());
}

void enhanceFile(const Job& job, const std::optional<RawLayout>& raw, const PictureOptions& options,
                 Engine& engine) {
  Timings timings;
  Stopwatch watch;
  Picture picture = readInput(job.input, raw);
  timings.decode = watch.lapMilliseconds();
  picture.frame = optimize(engine, picture, options.strength);
  timings.run = watch.lapMilliseconds();
  writeOutput(picture, job.output, options);
  timings.encode = watch.lapMilliseconds();
  if (options.quiet) return;
  printLine(fmt::format("{} -> {}, strength {}: {}", describeInput(job.input, picture),
                        describeOutput(job.output, picture), options.strength, describe(timings)));
}

ExitCode enhance(const EnhanceOptions& options) {
  const std::optional<RawLayout> raw = rawInputLayout(options.picture);
  const std::vector<Job> jobs = planJobs(options);
  makeFolder(options.folder);
  Engine engine;
  ExitCode worst = ExitCode::kDone;
  for (const Job& job : jobs) {
    const ExitCode outcome =
        reportFailures(job.input.string(), [&] { enhanceFile(job, raw, options.picture, engine); });
    worst = std::max(worst, outcome);
  }
  return worst;
}

} // namespace

Command addEnhance(CLI::App& app) {
  const auto options = std::make_shared<EnhanceOptions>();
  CLI::App* parser = app.add_subcommand("enhance", "Balance the light of pictures");
  parser->add_option("input", options->inputs, "Pictures to read")->required()->type_name("FILE");
  parser->add_option("-o,--output", options->output, "Picture to write")->type_name("FILE");
  parser->add_option("-d,--folder", options->folder, "Folder to write to, made if missing")
      ->type_name("FOLDER");
  addPictureOptions(*parser, options->picture);
  parser->footer(kExamples);
  return {parser, [options] { return enhance(*options); }};
}

} // namespace tlux::app

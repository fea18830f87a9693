#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "cli/number_option.hpp"
#include "commands/command.hpp"
#include "commands/enhance_job.hpp"

namespace tlux::app {

namespace {

constexpr int kMostJobs = 64;

constexpr const char* kExamples =
    "Examples:\n"
    "  tlux enhance photo.jpg -o better.jpg\n"
    "  tlux enhance photo.jpg -o better.png --strength 60\n"
    "  tlux enhance holiday -d enhanced            a folder and everything below it\n"
    "  tlux enhance *.jpg -d enhanced --name '{name}-{strength}' --skip-existing\n"
    "  tlux enhance clip.mov -o better.mp4 --quality 85\n"
    "  tlux enhance clip.mkv -o master.mkv --codec ffv1\n"
    "  ffmpeg -i clip.mp4 -f yuv4mpegpipe - | tlux enhance - -o - | ffmpeg -i - better.mkv\n"
    "  tlux enhance frames.nv21 -o better.nv21 --size 1920x1080 --format nv21\n"
    "\n"
    "The extension of the output selects its format. Pictures are turned upright and keep their\n"
    "colour profile and metadata. Videos keep their timestamps, rotation, metadata, sound and\n"
    "subtitles as far as the container supports them; text subtitles are converted to its format.\n"
    "Their tones are computed in 8 bits; a source with more bits is stored in 10 if the encoder\n"
    "supports it, by default as HEVC in MP4, MOV and Matroska files. MP4 files have their index\n"
    "in front.\n"
    "'-' means standard input or output: YUV4MPEG2, raw frames if --size is given, or the format\n"
    "given by --as, which is required for pictures.\n"
    "With -d, an input folder means all pictures and videos in it and below it, and sub-folders\n"
    "are kept. Inputs with the same output file are refused; the others are processed.\n"
    "If one of several files fails, the others are still processed; the exit code is the worst:\n"
    "0 done, 1 wrong usage, 2 unreadable input, 3 failed processing or writing.";

int processors() {
  return static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
}

/** The library and the codecs use several processors themselves; reading and writing do not. */
int chooseJobs(const EnhanceOptions& options, size_t files) {
  const int wanted = options.jobs > 0 ? options.jobs : std::max(1, processors() / 2);
  return static_cast<int>(std::min(static_cast<size_t>(wanted), files));
}

/** Never throws: standard output may be what failed. */
ExitCode tellFailure(const Error& failure, const std::filesystem::path& input,
                     const EnhanceOptions& options) {
  printError(failure.what());
  if (!options.json) return failure.code();
  const ExitCode told =
      reportFailures("enhance", [&] { printLine(describeFailure(failure, input)); });
  return std::max(failure.code(), told);
}

/** The remaining files, and the worst exit code so far. */
class JobQueue {
 public:
  JobQueue(const std::vector<Job>& jobs, const JobSettings& settings)
      : jobs_(jobs),
        settings_(settings),
        progress_(static_cast<int64_t>(jobs.size()),
                  !settings.options.picture.quiet && isTerminalWatched()) {}

  /** Runs jobs until none are left; may be called on any number of threads. */
  void work() {
    std::optional<Enhancer> enhancer;
    for (size_t index = next_++; index < jobs_.size(); index = next_++) {
      const Job& job = jobs_[index];
      const std::optional<Error> failure = failureOf(job.input.string(), [&] {
        if (!enhancer) enhancer.emplace(settings_.options.picture.tones, settings_.threads);
        enhanceFile(job, settings_, *enhancer, progress_);
      });
      progress_.fileDone();
      if (!failure) continue;
      const ExitCode outcome = tellFailure(*failure, job.input, settings_.options);
      const std::lock_guard lock(mutex_);
      worst_ = std::max(worst_, outcome);
    }
  }

  /** Call it after all work() calls have returned. */
  ExitCode worst() const { return worst_; }

 private:
  const std::vector<Job>& jobs_;
  const JobSettings& settings_;
  Progress progress_;
  std::atomic<size_t> next_ = 0;
  std::mutex mutex_;
  ExitCode worst_ = ExitCode::kDone;
};

ExitCode enhance(const EnhanceOptions& options) {
  JobSettings settings = settingsFor(options);
  const Plan plan = planJobs(options);
  ExitCode worst = ExitCode::kDone;
  for (const Error& refusal : plan.refusals) {
    worst = std::max(worst, tellFailure(refusal, {}, options));
  }
  for (const Job& job : plan.skipped) {
    tellSkipped(job, options);
  }
  if (plan.jobs.empty()) return worst;
  const int atOnce = chooseJobs(options, plan.jobs.size());
  // A single file may use all processors.
  settings.threads = atOnce == 1 ? 0 : std::max(1, processors() / atOnce);
  JobQueue queue(plan.jobs, settings);
  {
    std::vector<std::jthread> helpers;
    for (int i = 1; i < atOnce; ++i) {
      helpers.emplace_back([&queue] { queue.work(); });
    }
    queue.work();
  }
  return std::max(worst, queue.worst());
}

void addVideoOptions(CLI::App& parser, EnhanceOptions& options) {
  constexpr const char* kVideos = "Videos and pipes";
  parser.add_option("--as", options.as, "Format of the output, regardless of its extension")
      ->type_name("EXTENSION")
      ->group(kVideos);
  parser
      .add_option("--codec", options.codec, "Video encoder, by its FFmpeg name, e.g. libx265, ffv1")
      ->type_name("NAME")
      ->group(kVideos);
  parser.add_option("--preset", options.preset, "Preset of the encoder, e.g. fast, slow")
      ->type_name("NAME")
      ->group(kVideos);
  parser.add_option("--fps", options.fps, "Frame rate for raw frames written as a video")
      ->type_name("RATE")
      ->capture_default_str()
      ->group(kVideos);
}

void addFolderOptions(CLI::App& parser, EnhanceOptions& options) {
  constexpr const char* kFolders = "Folders";
  parser.add_option("-d,--folder", options.folder, "Folder to write to, created if missing")
      ->type_name("FOLDER")
      ->group(kFolders);
  parser
      .add_option("--name", options.name,
                  "Output name without extension; may contain {name}, {strength}")
      ->type_name("PATTERN")
      ->capture_default_str()
      ->group(kFolders);
  parser.add_option("--match", options.match, "Files to take from folders, such as '*.jpg'")
      ->type_name("PATTERN")
      ->group(kFolders);
  parser.add_flag("--skip-existing", options.skipExisting, "Skip files whose output exists")
      ->group(kFolders);
}

} // namespace

Command addEnhance(CLI::App& app) {
  const auto options = std::make_shared<EnhanceOptions>();
  CLI::App* parser = app.add_subcommand("enhance", "Balance the light of pictures and videos");
  parser
      ->add_option("input", options->inputs,
                   "Pictures, videos or folders of them, or - for a stream")
      ->required()
      ->type_name("FILE");
  parser->add_option("-o,--output", options->output, "File to write, or -")->type_name("FILE");
  addFolderOptions(*parser, *options);
  addPictureOptions(*parser, options->picture);
  parser
      ->add_option("-j,--jobs", options->jobs,
                   "Files processed at once, by default half the processors")
      ->transform(decimal(1, kMostJobs))
      ->type_name("N");
  parser->add_flag("--timing", options->timing, "Print timings on standard error");
  addJsonOption(*parser, options->json);
  addVideoOptions(*parser, *options);
  parser->footer(kExamples);
  return {parser, [options] { return enhance(*options); }};
}

} // namespace tlux::app

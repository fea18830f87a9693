#include "commands/enhance_job.hpp"

#include <fmt/format.h>

#include "media/input_container.hpp"
#include "media/reader.hpp"
#include "output/json.hpp"
#include "output/output_file.hpp"
#include "video/pipeline.hpp"
#include "video/raw_stream.hpp"
#include "video/video_reader.hpp"
#include "video/video_writer.hpp"

namespace tlux::app {

namespace {

/** The report on a finished file, as text and as JSON. */
struct Outcome {
  std::string text;
  JsonObject json;
};

JsonObject jsonOf(const Job& job) {
  return JsonObject::report("tlux.enhance.1")
      .add("input", job.input.string())
      .add("output", job.output.file.string());
}

/** Standard output may be in use for the result itself. */
void tellResult(const Job& job, const EnhanceOptions& options, const Outcome& outcome) {
  if (options.json) {
    printLine(outcome.json.toString());
  } else if (!options.picture.quiet && !isPipe(job.output.file)) {
    printLine(outcome.text);
  }
}

void tellTiming(const Job& job, const EnhanceOptions& options, const std::string& text) {
  if (options.timing) printNote(fmt::format("{}: {}", job.input.string(), text));
}

void warn(const std::filesystem::path& file, const std::vector<std::string>& remarks) {
  for (const std::string& remark : remarks) {
    printWarning(file.string() + ": " + remark);
  }
}

void enhancePicture(const Job& job, const JobSettings& settings, Enhancer& enhancer) {
  const PictureOptions& options = settings.options.picture;
  Timings timings;
  Stopwatch watch;
  Picture picture = readInput(job.input, settings.raw, options);
  timings.decode = watch.lapMilliseconds();
  enhance(enhancer, picture);
  timings.run = watch.lapMilliseconds();
  writeOutput(picture, job.output, options);
  timings.encode = watch.lapMilliseconds();
  const std::string text =
      fmt::format("{} -> {}, {}: {}", describeInput(job.input, picture),
                  describeOutput(job.output, picture), describe(options.tones), describe(timings));
  tellResult(job, settings.options,
             {text, jsonOf(job)
                        .add("width", picture.width())
                        .add("height", picture.height())
                        .add("frames", 1)
                        .add("strength", options.tones.strength)
                        .add("tones", nameOf(options.tones))
                        .add("milliseconds", toJson(timings))});
  tellTiming(job, settings.options, describe(timings));
}

void enhanceFrames(const Job& job, const JobSettings& settings, FrameSource& source,
                   FrameSink& sink, Enhancer& enhancer, Progress& progress) {
  const EnhanceOptions& options = settings.options;
  const StreamTimings timings = enhanceStream(source, enhancer, sink, progress);
  warn(job.input, source.remarks());
  const StreamProperties& properties = source.properties();
  const std::string text = fmt::format(
      "{} {}x{} -> {}, {}: {}", job.input.string(), properties.width, properties.height,
      job.output.file.string(), describe(options.picture.tones), describeSpeed(timings));
  tellResult(job, options,
             {text, jsonOf(job)
                        .add("width", properties.width)
                        .add("height", properties.height)
                        .add("frames", timings.frames)
                        .add("strength", options.picture.tones.strength)
                        .add("tones", nameOf(options.picture.tones))
                        .add("milliseconds", toJson(timings.busy).add("whole", timings.whole, 3))});
  tellTiming(job, options, describeSpeed(timings) + "; " + describeShares(timings));
}

std::unique_ptr<FrameSource> openSource(const Job& job, const JobSettings& settings) {
  if (settings.raw) return std::make_unique<RawReader>(job.input, *settings.raw, settings.fps);
  const bool keepsRotation = job.videoFormat != nullptr && job.videoFormat->keepsRotation;
  return std::make_unique<VideoReader>(job.input,
                                       ReadingOptions{.turnsUpright = !keepsRotation,
                                                      .fullRange = job.videoFormat == nullptr,
                                                      .isStrict = settings.options.picture.strict,
                                                      .threads = settings.threads});
}

[[noreturn]] void askForForm() {
  throw Error(ExitCode::kUsage, "-o", "a picture for standard output needs --as, such as --as jpg");
}

bool isPictureStream(const FrameSource& source) {
  const AVFormatContext* container = source.properties().container;
  return container != nullptr && holdsOnePicture(*container->iformat);
}

void enhanceToVideo(const Job& job, const JobSettings& settings, Enhancer& enhancer,
                    Progress& progress) {
  const EnhanceOptions& options = settings.options;
  const bool isFormOpen = isPipe(job.output.file) && options.as.empty();
  const bool isPicture = !settings.raw && !isPipe(job.input) && holdsOnePicture(job.input);
  if (isFormOpen && isPicture) askForForm();
  const std::unique_ptr<FrameSource> source = openSource(job, settings);
  if (isFormOpen && isPictureStream(*source)) askForForm();
  VideoWriter sink(job.output.file, *job.videoFormat,
                   {.encoder = options.codec,
                    .preset = options.preset,
                    .quality = options.picture.quality,
                    .wholeChroma = options.picture.chroma == "444",
                    .threads = settings.threads},
                   source->properties());
  warn(job.output.file, sink.remarks());
  enhanceFrames(job, settings, *source, sink, enhancer, progress);
}

void enhanceToRaw(const Job& job, const JobSettings& settings, Enhancer& enhancer,
                  Progress& progress) {
  const std::unique_ptr<FrameSource> source = openSource(job, settings);
  const int bits = source->properties().bits;
  if (bits > 8) warn(job.input, {fmt::format("its {} bits per sample are reduced to 8", bits)});
  RawWriter sink(job.output.file, job.output.rawFormat, settings.options.picture.pitch);
  enhanceFrames(job, settings, *source, sink, enhancer, progress);
}

/** Pictures converted to raw frames are read as pictures, so all their orientation tags apply. */
bool isPictureAsRaw(const Job& job, const JobSettings& settings) {
  return !settings.raw && !isPipe(job.input) && holdsOnePicture(job.input);
}

void makeFolder(const std::filesystem::path& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) throw Error(ExitCode::kFailed, folder.string(), error.message());
}

} // namespace

void tellSkipped(const Job& job, const EnhanceOptions& options) {
  tellResult(job, options,
             {fmt::format("{} -> {}: skipped, already exists", job.input.string(),
                          job.output.file.string()),
              jsonOf(job).addValue("skipped", "true")});
}

std::string describeFailure(const Error& failure, const std::filesystem::path& input) {
  JsonObject report = JsonObject::report("tlux.enhance.1");
  if (!input.empty()) report.add("input", input.string());
  return report.add("error", failure.what())
      .add("exitStatus", static_cast<int>(failure.code()))
      .toString();
}

void enhanceFile(const Job& job, const JobSettings& settings, Enhancer& enhancer,
                 Progress& progress) {
  if (!settings.options.folder.empty()) makeFolder(job.output.file.parent_path());
  if (job.videoFormat != nullptr) {
    enhanceToVideo(job, settings, enhancer, progress);
  } else if (job.output.pictureFormat != nullptr || isPictureAsRaw(job, settings)) {
    enhancePicture(job, settings, enhancer);
  } else {
    enhanceToRaw(job, settings, enhancer, progress);
  }
}

} // namespace tlux::app

#include "commands/enhance_job.hpp"

#include <fmt/format.h>

#include "media/input_container.hpp"
#include "media/reader.hpp"
#include "output_file.hpp"
#include "video/pipeline.hpp"
#include "video/raw_stream.hpp"
#include "video/video_reader.hpp"
#include "video/video_writer.hpp"

namespace tlux::app {

namespace {

/** Standard output may be taken by the result itself. */
void tellResult(const Job& job, const EnhanceOptions& options, const std::string& text) {
  if (!options.picture.quiet && !isPipe(job.output.file)) printLine(text);
}

void tellTiming(const Job& job, const EnhanceOptions& options, const std::string& text) {
  if (options.timing) printNote(fmt::format("{}: {}", job.input.string(), text));
}

void warn(const std::filesystem::path& file, const std::vector<std::string>& remarks) {
  for (const std::string& remark : remarks) {
    printWarning(file.string() + ": " + remark);
  }
}

void enhancePicture(const Job& job, const JobSettings& settings, Engine& engine) {
  const PictureOptions& options = settings.options.picture;
  Timings timings;
  Stopwatch watch;
  Picture picture = readInput(job.input, settings.raw, options);
  timings.decode = watch.lapMilliseconds();
  picture.frame = optimize(engine, picture, options.strength);
  timings.run = watch.lapMilliseconds();
  writeOutput(picture, job.output, options);
  timings.encode = watch.lapMilliseconds();
  tellResult(job, settings.options,
             fmt::format("{} -> {}, strength {}: {}", describeInput(job.input, picture),
                         describeOutput(job.output, picture), options.strength, describe(timings)));
  tellTiming(job, settings.options, describe(timings));
}

void enhanceFrames(const Job& job, const JobSettings& settings, FrameSource& source,
                   FrameSink& sink, Engine& engine, Progress& progress) {
  const EnhanceOptions& options = settings.options;
  const StreamTimings timings =
      enhanceStream(source, engine, options.picture.strength, sink, progress);
  warn(job.input, source.remarks());
  tellResult(
      job, options,
      fmt::format("{} {}x{} -> {}, strength {}: {}", job.input.string(), source.properties().width,
                  source.properties().height, job.output.file.string(), options.picture.strength,
                  describeSpeed(timings)));
  tellTiming(job, options, describeSpeed(timings) + "; " + describeShares(timings));
}

std::unique_ptr<FrameSource> openSource(const Job& job, const JobSettings& settings) {
  if (settings.raw) return std::make_unique<RawReader>(job.input, *settings.raw, settings.fps);
  const bool keepsRotation = job.videoFormat != nullptr && job.videoFormat->keepsRotation;
  return std::make_unique<VideoReader>(job.input,
                                       ReadingOptions{.turnsUpright = !keepsRotation,
                                                      .isStrict = settings.options.picture.strict,
                                                      .threads = settings.codecThreads});
}

[[noreturn]] void askForForm() {
  throw Error(ExitCode::kUsage, "-o", "a picture for standard output needs --as, such as --as jpg");
}

bool isPictureStream(const FrameSource& source) {
  const AVFormatContext* container = source.properties().container;
  return container != nullptr && holdsOnePicture(*container->iformat);
}

void enhanceToVideo(const Job& job, const JobSettings& settings, Engine& engine,
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
                    .threads = settings.codecThreads},
                   source->properties());
  warn(job.output.file, sink.remarks());
  enhanceFrames(job, settings, *source, sink, engine, progress);
}

void enhanceToRaw(const Job& job, const JobSettings& settings, Engine& engine, Progress& progress) {
  const std::unique_ptr<FrameSource> source = openSource(job, settings);
  const int bits = source->properties().bits;
  if (bits > 8) warn(job.input, {fmt::format("its {} bits a sample become 8", bits)});
  RawWriter sink(job.output.file, job.output.rawFormat, settings.options.picture.pitch);
  enhanceFrames(job, settings, *source, sink, engine, progress);
}

/** Pictures become raw frames like pictures: turned by all their tags. */
bool isPictureAsRaw(const Job& job, const JobSettings& settings) {
  return !settings.raw && !isPipe(job.input) && holdsOnePicture(job.input);
}

} // namespace

void enhanceFile(const Job& job, const JobSettings& settings, Engine& engine, Progress& progress) {
  if (job.videoFormat != nullptr) {
    enhanceToVideo(job, settings, engine, progress);
  } else if (job.output.pictureFormat != nullptr || isPictureAsRaw(job, settings)) {
    enhancePicture(job, settings, engine);
  } else {
    enhanceToRaw(job, settings, engine, progress);
  }
}

} // namespace tlux::app

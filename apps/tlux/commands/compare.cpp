#include <fmt/format.h>

#include <filesystem>
#include <memory>

#include "commands/command.hpp"
#include "commands/picture_options.hpp"
#include "media/comparison.hpp"
#include "stream/enhancer.hpp"

namespace tlux::app {

namespace {

struct CompareOptions {
  std::filesystem::path input;
  std::filesystem::path output;
  bool split = false;
  bool labels = false;
  PictureOptions picture;
};

constexpr const char* kExamples =
    "Examples:\n"
    "  tlux compare photo.jpg -o both.png\n"
    "  tlux compare photo.jpg -o both.jpg --strength 60\n"
    "  tlux compare photo.jpg -o halves.png --split --labels";

FramePtr showBoth(const AVFrame& before, const AVFrame& after, const CompareOptions& options) {
  FramePtr both =
      options.split ? splitDownTheMiddle(before, after) : placeSideBySide(before, after);
  if (!options.labels) return both;
  FramePtr labelled = labelSides(*both);
  if (labelled != nullptr) return labelled;
  printWarning(options.output.string() + ": too small for labels");
  return both;
}

void compareFile(const CompareOptions& options) {
  const std::optional<RawLayout> raw = rawInputLayout(options.picture);
  const Output output = chooseOutput(options.output, options.picture);
  checkMayWrite(output.file, options.input, options.picture);

  Timings timings;
  Stopwatch watch;
  Picture picture = readInput(options.input, raw, options.picture);
  timings.decode = watch.lapMilliseconds();
  Enhancer enhancer(options.picture.tones);
  const FramePtr after = enhanced(enhancer, picture);
  timings.run = watch.lapMilliseconds();
  picture.frame = showBoth(*picture.frame, *after, options);
  if (picture.alpha != nullptr) {
    printWarning(output.file.string() + ": transparency is dropped in a comparison");
    picture.alpha = nullptr;
  }
  writeOutput(picture, output, options.picture);
  timings.encode = watch.lapMilliseconds();
  if (options.picture.quiet) return;
  printLine(fmt::format("{} -> {}, before and after at {}: {}",
                        describeInput(options.input, picture), describeOutput(output, picture),
                        describe(options.picture.tones), describe(timings)));
}

} // namespace

Command addCompare(CLI::App& app) {
  const auto options = std::make_shared<CompareOptions>();
  CLI::App* parser = app.add_subcommand("compare", "Show a picture before and after");
  parser->add_option("input", options->input, "Picture to read")->required()->type_name("FILE");
  parser->add_option("-o,--output", options->output, "Picture to write")
      ->required()
      ->type_name("FILE");
  parser->add_flag("--split", options->split, "One picture: left half before, right half after");
  parser->add_flag("--labels", options->labels, "Label the two sides as before and after");
  addPictureOptions(*parser, options->picture);
  parser->footer(kExamples);
  return {parser, [options] {
            return reportFailures(options->input.string(), [&] { compareFile(*options); });
          }};
}

} // namespace tlux::app

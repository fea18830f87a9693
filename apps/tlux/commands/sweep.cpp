#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include "cli/number_option.hpp"
#include "commands/command.hpp"
#include "commands/picture_options.hpp"
#include "media/contact_sheet.hpp"
#include "media/rgb_copy.hpp"
#include "stream/enhancer.hpp"

namespace tlux::app {

namespace {

struct SweepOptions {
  std::filesystem::path input;
  std::filesystem::path output;
  std::vector<uint32_t> strengths = {0, 15, kUsualStrength, 60};
  int tileWidth = 800;
  int columns = 0;
  PictureOptions picture;
};

constexpr const char* kExamples =
    "Examples:\n"
    "  tlux sweep photo.jpg -o sheet.png\n"
    "  tlux sweep photo.jpg -o sheet.jpg --strengths 0,10,20,30,40,50 --tile-width 400\n"
    "\n"
    "Pictures wider than a tile are scaled down; smaller ones keep their size.";

Output chooseSheet(const SweepOptions& options) {
  Output output = chooseOutput(options.output, options.picture);
  if (output.pictureFormat == nullptr) {
    throw Error(ExitCode::kUsage, options.output.string(),
                "a sheet is a picture: its extension must be one of " + writableExtensions());
  }
  checkMayWrite(output.file, options.input, options.picture);
  return output;
}

std::vector<Tile> makeTiles(const Picture& picture, const SweepOptions& options) {
  Enhancer enhancer(options.picture.tones);
  std::vector<Tile> tiles;
  for (const uint32_t strength : options.strengths) {
    enhancer.setStrength(strength);
    const FramePtr after = enhanced(enhancer, picture);
    tiles.push_back(
        {shrinkToWidth(toRgb(*after), options.tileWidth), fmt::format("strength {}", strength)});
  }
  return tiles;
}

void sweepFile(const SweepOptions& options) {
  const std::optional<RawLayout> raw = rawInputLayout(options.picture);
  const Output output = chooseSheet(options);

  Timings timings;
  Stopwatch watch;
  const Picture picture = readInput(options.input, raw, options.picture);
  timings.decode = watch.lapMilliseconds();
  const std::vector<Tile> tiles = makeTiles(picture, options);
  timings.run = watch.lapMilliseconds();
  Picture sheet;
  sheet.frame = makeContactSheet(tiles, options.columns);
  if (picture.alpha != nullptr) {
    printWarning(output.file.string() + ": transparency is dropped in a sheet");
  }
  writeOutput(sheet, output, options.picture);
  timings.encode = watch.lapMilliseconds();
  if (options.picture.quiet) return;
  printLine(fmt::format("{} -> {}, strengths {}: {}", describeInput(options.input, picture),
                        describeOutput(output, sheet), fmt::join(options.strengths, ", "),
                        describe(timings)));
}

} // namespace

Command addSweep(CLI::App& app) {
  const auto options = std::make_shared<SweepOptions>();
  CLI::App* parser = app.add_subcommand("sweep", "Show a picture at several strengths on a sheet");
  parser->add_option("input", options->input, "Picture to read")->required()->type_name("FILE");
  parser->add_option("-o,--output", options->output, "Picture to write")
      ->required()
      ->type_name("FILE");
  addPictureOptions(*parser, options->picture);
  parser->remove_option(parser->get_option("--strength"));
  parser->add_option("--strengths", options->strengths, "Strengths to show, 0 to 100 each")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->transform(decimal(0U, 100U))
      ->type_name("LIST")
      ->default_str("0,15,30,60");
  parser->add_option("--tile-width", options->tileWidth, "Largest width of a tile in pixels")
      ->transform(decimal(16, 65535))
      ->type_name("PIXELS")
      ->capture_default_str();
  parser
      ->add_option("--columns", options->columns,
                   "Tiles in a row; chosen automatically if not given")
      ->transform(decimal(1, 100))
      ->type_name("COUNT");
  parser->footer(kExamples);
  return {parser, [options] {
            return reportFailures(options->input.string(), [&] { sweepFile(*options); });
          }};
}

} // namespace tlux::app

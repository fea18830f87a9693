#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <span>
#include <system_error>

#include "commands/command.hpp"
#include "commands/picture_options.hpp"
#include "explain/run_report.hpp"
#include "output/json.hpp"
#include "output/output_file.hpp"

namespace tlux::app {

namespace {

namespace fs = std::filesystem;

struct ExplainOptions {
  fs::path input;
  fs::path folder;
  bool json = false;
  PictureOptions picture;
};

constexpr const char* kPage = "explain.html";

constexpr const char* kExamples =
    "Examples:\n"
    "  tlux explain photo.jpg -d why\n"
    "  tlux explain photo.jpg -d why-60 --strength 60\n"
    "\n"
    "Writes explain.html, a self-contained page, and its pictures as separate files.";

void checkFolder(const ExplainOptions& options) {
  std::vector<std::string> names = reportPictureNames();
  names.emplace_back(kPage);
  for (const std::string& name : names) {
    checkMayWrite(options.folder / name, options.input, options.picture);
  }
}

void makeFolder(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) throw Error(ExitCode::kFailed, folder.string(), error.message());
}

void writeReport(const Report& report, const fs::path& folder) {
  for (const EmbeddedPicture& picture : report.pictures) {
    writeFileAtomically(folder / picture.fileName, picture.content);
  }
  // The writer takes bytes.
  const auto* text = reinterpret_cast<const uint8_t*>(report.html.data());
  writeFileAtomically(folder / kPage, std::span(text, report.html.size()));
}

void printJson(const Report& report, const Picture& picture, const ExplainOptions& options) {
  const Findings& findings = report.findings;
  printLine(JsonObject::report("tlux.explain.1")
                .add("input", options.input.string())
                .add("page", (options.folder / kPage).string())
                .add("width", picture.width())
                .add("height", picture.height())
                .add("strength", options.picture.tones.strength)
                .add("tones", nameOf(options.picture.tones))
                .add("referenceWidth", report.reference.width)
                .add("referenceHeight", report.reference.height)
                .add("lifted", findings.lifted, 4)
                .add("darkened", findings.darkened, 4)
                .add("medianGain", findings.medianGain, 3)
                .add("largestGain", findings.largestGain, 3)
                .add("meanBefore", findings.meanBefore, 2)
                .add("meanAfter", findings.meanAfter, 2)
                .toString());
}

void explainFile(const ExplainOptions& options) {
  const std::optional<RawLayout> raw = rawInputLayout(options.picture);
  checkFolder(options);
  const Picture picture = readInput(options.input, raw, options.picture);
  const Report report =
      explainRun(picture, options.picture.tones, options.input.filename().string());
  makeFolder(options.folder);
  writeReport(report, options.folder);
  if (options.json) return printJson(report, picture, options);
  if (options.picture.quiet) return;
  printLine(fmt::format("{} -> {}, {}: {} KiB", describeInput(options.input, picture),
                        (options.folder / kPage).string(), describe(options.picture.tones),
                        report.html.size() / 1024));
}

} // namespace

Command addExplain(CLI::App& app) {
  const auto options = std::make_shared<ExplainOptions>();
  CLI::App* parser =
      app.add_subcommand("explain", "Explain on a page what was done to a picture, and why");
  parser->add_option("input", options->input, "Picture to read")->required()->type_name("FILE");
  parser->add_option("-d,--folder", options->folder, "Folder to write to, created if missing")
      ->required()
      ->type_name("FOLDER");
  addPictureOptions(*parser, options->picture);
  for (const char* name : {"--quality", "--chroma", "--strip"}) {
    parser->remove_option(parser->get_option(name));
  }
  addJsonOption(*parser, options->json);
  parser->footer(kExamples);
  return {parser, [options] {
            return reportFailures(options->input.string(), [&] { explainFile(*options); });
          }};
}

} // namespace tlux::app

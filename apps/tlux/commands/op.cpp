#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <list>
#include <memory>
#include <utility>

#include "commands/command.hpp"
#include "commands/picture_options.hpp"
#include "ops/operation.hpp"
#include "output/json.hpp"

namespace tlux::app {

namespace {

/** An operation and its parsed options. */
struct Job {
  const Operation* operation;
  CLI::App* parser;
  Apply apply;
  std::filesystem::path input;
  std::filesystem::path output;
  bool json = false;
  PictureOptions picture;
};

constexpr const char* kLesson =
    "Examples:\n"
    "  tlux op blur photo.jpg -o soft.jpg --radius 8\n"
    "  tlux op resize photo.jpg -o small.png --to 640x480\n"
    "  tlux op label mask.png -o parts.png\n"
    "  tlux op guided --help                       what an operation does, and its options\n"
    "\n"
    "Pictures are processed as camera frames: luma, and chroma at half the size in both "
    "directions.\n"
    "Transparency is kept, except in masks.";

void printJson(const Job& job, const Finding& finding, const Picture& result,
               const Timings& timings) {
  JsonObject report = JsonObject::report("tlux.op.1");
  report.add("operation", job.operation->name)
      .add("input", job.input.string())
      .add("output", job.output.string())
      .add("width", result.width())
      .add("height", result.height());
  if (!finding.name.empty()) report.add(finding.name, finding.count);
  printLine(report.add("milliseconds", toJson(timings)).toString());
}

void runJob(const Job& job) {
  const std::optional<RawLayout> raw = rawInputLayout(job.picture);
  const Output output = chooseOutput(job.output, job.picture);
  checkMayWrite(output.file, job.input, job.picture);

  Timings timings;
  Stopwatch watch;
  const Picture picture = readInput(job.input, raw, job.picture);
  timings.decode = watch.lapMilliseconds();
  Channels channels = takeApart(picture);
  const Finding finding = job.apply(channels);
  const bool losesAlpha = picture.alpha != nullptr && channels.alpha.isEmpty();
  const bool isRaw = output.pictureFormat == nullptr;
  const Picture result = putTogether(std::move(channels), picture, isRaw);
  timings.run = watch.lapMilliseconds();
  if (losesAlpha) printWarning(output.file.string() + ": transparency is dropped: masks have none");
  PictureOptions writing = job.picture;
  // The input's row length does not apply to rows of a different width.
  if (result.frame->width != picture.frame->width) writing.pitch = 0;
  writeOutput(result, output, writing);
  timings.encode = watch.lapMilliseconds();
  if (job.json) return printJson(job, finding, result, timings);
  if (job.picture.quiet) return;
  printLine(fmt::format("{} -> {}, {}{}{}: {}", describeInput(job.input, picture),
                        describeOutput(output, result), job.operation->name,
                        finding.text.empty() ? "" : " ", finding.text, describe(timings)));
}

void addJob(CLI::App& app, const Operation& operation, std::list<Job>& jobs) {
  Job& job = jobs.emplace_back();
  job.operation = &operation;
  job.parser = app.add_subcommand(operation.name, operation.summary);
  job.parser->add_option("input", job.input, "Picture to read")->required()->type_name("FILE");
  job.parser->add_option("-o,--output", job.output, "Picture to write")
      ->required()
      ->type_name("FILE");
  job.apply = operation.addOptions(*job.parser);
  addFileOptions(*job.parser, job.picture);
  addJsonOption(*job.parser, job.json);
  job.parser->footer(operation.lesson);
}

} // namespace

Command addOp(CLI::App& app) {
  CLI::App* parser = app.add_subcommand("op", "Run one operation of the toolkit on a picture");
  parser->require_subcommand(0, 1);
  // A list, because the parsers keep pointers to its elements.
  const auto jobs = std::make_shared<std::list<Job>>();
  for (const Operation* operation : operations()) {
    addJob(*parser, *operation, *jobs);
  }
  parser->footer(kLesson);
  return {parser, [jobs] {
            const auto job = std::find_if(jobs->begin(), jobs->end(),
                                          [](const Job& j) { return j.parser->parsed(); });
            if (job == jobs->end()) {
              throw Error(ExitCode::kUsage, "op", "needs an operation (see tlux op --help)");
            }
            return reportFailures(job->input.string(), [&] { runJob(*job); });
          }};
}

} // namespace tlux::app

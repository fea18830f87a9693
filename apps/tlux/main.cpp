#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <string>

#include "cli/suggestion.hpp"
#include "commands/command.hpp"
#include "media/av.hpp"
#include "output/output_file.hpp"
#include "tlux.h"

namespace {

using tlux::app::Command;
using tlux::app::ExitCode;

constexpr const char* kExamples =
    "Examples:\n"
    "  tlux enhance photo.jpg -o better.jpg        lift the shadows, protect the highlights\n"
    "  tlux compare photo.jpg -o both.png          before and after, side by side\n"
    "  tlux sweep photo.jpg -o sheet.png           several strengths on one sheet\n"
    "  tlux tune photo.jpg                         sliders, in the browser\n"
    "  tlux explain photo.jpg -d why               a page that explains what was done\n"
    "  tlux enhance holiday -d enhanced -s 60      a folder of pictures, stronger\n"
    "  tlux op blur photo.jpg -o soft.jpg          one of the toolkit's operations\n"
    "  tlux enhance --help                         all options, raw camera frames\n"
    "\n"
    "Every result carries a small mark in its lower right corner.";

std::string versionLine() {
  const TLUX_VERSION& version = *TLUX_GetVersion();
  return fmt::format("tlux {}.{}.{}.{}", version.major, version.minor, version.build,
                     version.revision);
}

ExitCode runCommandLine(int argc, char** argv) {
  CLI::App app("Makes pictures of high-contrast scenes look right.", "tlux");
  app.set_version_flag("-V,--version", versionLine(), "Show the version and exit");
  app.require_subcommand(0, 1);
  app.footer(kExamples);
  const std::array commands = {tlux::app::addEnhance(app),    tlux::app::addCompare(app),
                               tlux::app::addSweep(app),      tlux::app::addTune(app),
                               tlux::app::addExplain(app),    tlux::app::addOp(app),
                               tlux::app::addBench(app),      tlux::app::addInfo(app),
                               tlux::app::addCompletion(app), tlux::app::addHelp(app)};

  try {
    app.parse(argc, argv);
    if (app.get_subcommands().empty()) throw CLI::RequiredError("A command (see tlux --help)");
  } catch (const CLI::CallForVersion& version) {
    return tlux::app::reportFailures("tlux", [&] { tlux::app::printLine(version.what()); });
  } catch (const CLI::Success&) { // --help
    return tlux::app::reportFailures("tlux", [&] { tlux::app::printText(app.help()); });
  } catch (const CLI::ParseError& error) {
    const std::string unplaced = tlux::app::describeUnplaced(app);
    tlux::app::printError(unplaced.empty() ? error.what() : unplaced);
    return ExitCode::kUsage;
  }

  const auto chosen = std::find_if(commands.begin(), commands.end(),
                                   [](const Command& command) { return command.parser->parsed(); });
  ExitCode code = ExitCode::kDone;
  const ExitCode failure =
      tlux::app::reportFailures(chosen->parser->get_name(), [&] { code = chosen->run(); });
  return std::max(code, failure);
}

} // namespace

int main(int argc, char** argv) {
  try {
    tlux::app::captureAvLog();
    tlux::app::removeTemporariesOnSignals();
    return static_cast<int>(runCommandLine(argc, argv));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tlux: %s\n", error.what());
    return static_cast<int>(ExitCode::kFailed);
  }
}

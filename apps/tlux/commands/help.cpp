#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "cli/suggestion.hpp"
#include "cli/words.hpp"
#include "commands/command.hpp"
#include "manual/manual_page.hpp"

namespace tlux::app {

namespace {

struct HelpOptions {
  std::vector<std::string> words;
  bool manual = false;
};

constexpr const char* kExamples =
    "Examples:\n"
    "  tlux help enhance\n"
    "  tlux help op blur\n"
    "  tlux help --manual | man -l -               the whole manual";

const CLI::App* findBelow(const CLI::App& command, const std::string& name) {
  const std::vector<const CLI::App*> below = command.get_subcommands({});
  const auto found = std::find_if(below.begin(), below.end(),
                                  [&name](const CLI::App* c) { return c->get_name() == name; });
  return found == below.end() ? nullptr : *found;
}

void showHelp(const CLI::App& app, const std::vector<std::string>& words) {
  const CLI::App* command = &app;
  std::string above;
  for (const std::string& word : words) {
    above += (above.empty() ? "" : " ") + command->get_name();
    const CLI::App* below = findBelow(*command, word);
    if (below == nullptr) {
      throw Error(ExitCode::kUsage, "help", describeUnknownCommand(*command, word));
    }
    command = below;
  }
  // CLI11 would show the help of the command that was parsed, which is this one.
  printText(words.empty()
                ? app.get_formatter()->make_help(&app, app.get_name(), CLI::AppFormatMode::Normal)
                : command->help(above));
}

} // namespace

Command addHelp(CLI::App& app) {
  const auto options = std::make_shared<HelpOptions>();
  CLI::App* parser = app.add_subcommand("help", "Show the help of a command");
  parser->add_option("command", options->words, "Command, and its operation if any")
      ->type_name("COMMAND");
  parser->add_flag("--manual", options->manual, "Print the manual page, for man(1)");
  parser->footer(kExamples);
  return {parser, [options, &app] {
            if (options->manual) {
              printText(manualPage(wordsOf(app)));
            } else {
              showHelp(app, options->words);
            }
            return ExitCode::kDone;
          }};
}

} // namespace tlux::app

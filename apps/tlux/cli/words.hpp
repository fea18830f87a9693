#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace tlux::app {

/** What follows an option or stands for itself on the command line. */
enum class Value { kNone, kFile, kChoice, kOther };

struct OptionWords {
  std::vector<std::string> names; // with their dashes, the long one last
  std::string help;
  Value value = Value::kNone;
  std::string type; // of the value, as the help shows it: "FILE", "0-100", "nv21|nv12"
  std::vector<std::string> choices;
  std::string standard; // the value if the option is not given; empty where there is none
  bool isRequired = false;

  bool operator==(const OptionWords&) const = default;
};

/** What stands on the command line by its place. */
struct ArgumentWords {
  std::string name;
  std::vector<std::string> choices;
  bool isRequired = false;
  bool isRepeated = false;
};

/** What can be typed behind a command; the program itself has an empty path. */
struct CommandWords {
  std::string path; // " op blur": each word with a space before it
  std::string help;
  std::string footer; // what the help says below its options
  std::vector<OptionWords> options;
  std::vector<ArgumentWords> arguments;
  std::vector<CommandWords> commands; // below it

  std::string name() const { return path.substr(path.rfind(' ') + 1); }

  /** Those of its last argument. */
  std::vector<std::string> choices() const {
    return arguments.empty() ? std::vector<std::string>() : arguments.back().choices;
  }
};

CommandWords wordsOf(const CLI::App& app);

/** Does visit(command) with @p command and all below it. */
template <typename Visit>
void visitCommands(const CommandWords& command, Visit visit) {
  visit(command);
  for (const CommandWords& below : command.commands) {
    visitCommands(below, visit);
  }
}

} // namespace tlux::app

#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace tlux::app {

/** The kind of value that follows an option or is a positional argument. */
enum class Value { kNone, kFile, kChoice, kOther };

struct OptionWords {
  std::vector<std::string> names; // with dashes, the long one last
  std::string help;
  Value value = Value::kNone;
  std::string type; // of the value, as the help shows it: "FILE", "0-100", "nv21|nv12"
  std::vector<std::string> choices;
  std::string standard; // the default value; empty if none
  bool isRequired = false;

  bool operator==(const OptionWords&) const = default;
};

/** A positional argument. */
struct ArgumentWords {
  std::string name;
  std::vector<std::string> choices;
  bool isRequired = false;
  bool isRepeated = false;
};

/** What can follow a command on the command line; the program itself has an empty path. */
struct CommandWords {
  std::string path; // " op blur": each word with a space before it
  std::string help;
  std::string footer; // help text below its options
  std::vector<OptionWords> options;
  std::vector<ArgumentWords> arguments;
  std::vector<CommandWords> commands; // below it

  std::string name() const { return path.substr(path.rfind(' ') + 1); }

  /** The choices of its last argument. */
  std::vector<std::string> choices() const {
    return arguments.empty() ? std::vector<std::string>() : arguments.back().choices;
  }
};

CommandWords wordsOf(const CLI::App& app);

/** Calls visit(command) for @p command and all commands below it. */
template <typename Visit>
void visitCommands(const CommandWords& command, Visit visit) {
  visit(command);
  for (const CommandWords& below : command.commands) {
    visitCommands(below, visit);
  }
}

} // namespace tlux::app

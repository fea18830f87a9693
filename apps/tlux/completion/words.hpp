#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace tlux::app {

/** What follows an option or stands for itself on the command line. */
enum class Value { kNone, kFile, kChoice, kOther };

struct OptionWords {
  std::vector<std::string> names; // with their dashes
  std::string help;
  Value value;
  std::vector<std::string> choices;
};

/** What can be typed behind a command; the program itself has an empty path. */
struct CommandWords {
  std::string path; // " op blur": each word with a space before it
  std::string help;
  std::vector<OptionWords> options;
  std::vector<std::string> choices;   // of its plain argument
  std::vector<CommandWords> commands; // below it

  std::string name() const { return path.substr(path.rfind(' ') + 1); }
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

/** Completion scripts for the program of @p words, one per shell. */
std::string bashCompletion(const CommandWords& words);
std::string zshCompletion(const CommandWords& words);
std::string fishCompletion(const CommandWords& words);

/** All paths but the program's own, each between single quotes. */
std::vector<std::string> quotedPaths(const CommandWords& words);

/** @p text between single quotes, as bash and zsh read it. */
std::string quoted(const std::string& text);

} // namespace tlux::app

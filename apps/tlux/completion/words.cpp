#include "completion/words.hpp"

#include <sstream>

namespace tlux::app {

namespace {

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) {
    parts.push_back(part);
  }
  return parts;
}

/** "nv21|nv12" names choices; any other type has none. */
std::vector<std::string> choicesOf(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  return type.find('|') == std::string::npos ? std::vector<std::string>() : split(type, '|');
}

Value valueOf(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  if (option.get_items_expected_max() == 0) return Value::kNone;
  if (!choicesOf(option).empty()) return Value::kChoice;
  return type == "FILE" || type == "FOLDER" ? Value::kFile : Value::kOther;
}

OptionWords wordsOf(const CLI::Option& option) {
  OptionWords words = {{}, option.get_description(), valueOf(option), choicesOf(option)};
  for (const std::string& name : option.get_snames()) {
    words.names.push_back("-" + name);
  }
  for (const std::string& name : option.get_lnames()) {
    words.names.push_back("--" + name);
  }
  return words;
}

CommandWords wordsBelow(const CLI::App& app, const std::string& path) {
  CommandWords words;
  words.path = path;
  words.help = app.get_description();
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_positional()) {
      words.choices = choicesOf(*option);
    } else {
      words.options.push_back(wordsOf(*option));
    }
  }
  for (const CLI::App* command : app.get_subcommands({})) {
    words.commands.push_back(wordsBelow(*command, path + " " + command->get_name()));
  }
  return words;
}

} // namespace

CommandWords wordsOf(const CLI::App& app) {
  return wordsBelow(app, "");
}

std::string quoted(const std::string& text) {
  std::string result = "'";
  for (const char c : text) {
    result += c == '\'' ? std::string("'\\''") : std::string(1, c);
  }
  return result + "'";
}

std::vector<std::string> quotedPaths(const CommandWords& words) {
  std::vector<std::string> paths;
  visitCommands(words, [&paths](const CommandWords& command) {
    if (!command.path.empty()) paths.push_back(quoted(command.path));
  });
  return paths;
}

} // namespace tlux::app

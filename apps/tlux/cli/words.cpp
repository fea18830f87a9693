#include "cli/words.hpp"

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

OptionWords optionWords(const CLI::Option& option) {
  OptionWords words;
  words.help = option.get_description();
  words.value = valueOf(option);
  words.type = option.get_type_name();
  words.choices = choicesOf(option);
  words.standard = option.get_default_str();
  words.isRequired = option.get_required();
  for (const std::string& name : option.get_snames()) {
    words.names.push_back("-" + name);
  }
  for (const std::string& name : option.get_lnames()) {
    words.names.push_back("--" + name);
  }
  return words;
}

ArgumentWords argumentWords(const CLI::Option& argument) {
  return {argument.get_name(), choicesOf(argument), argument.get_required(),
          argument.get_items_expected_max() > 1};
}

CommandWords wordsBelow(const CLI::App& app, const std::string& path) {
  CommandWords words;
  words.path = path;
  words.help = app.get_description();
  words.footer = app.get_footer();
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_positional()) {
      words.arguments.push_back(argumentWords(*option));
    } else {
      words.options.push_back(optionWords(*option));
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

} // namespace tlux::app

#include <fmt/format.h>

#include "completion/scripts.hpp"

namespace tlux::app {

namespace {

constexpr const char* kScript = R"(#compdef tlux
# zsh completion for tlux, made by 'tlux completion zsh'
_tlux() {{
  local at= i
  local -a names
  for ((i = 2; i < CURRENT; ++i)); do
    case "$at $words[i]" in
      ({}) at+=" $words[i]" ;;
    esac
  done
  case "$at" in
{}  esac
}}
if [[ $funcstack[1] == _tlux ]]; then
  _tlux "$@"
else
  compdef _tlux tlux
fi
)";

/** Text escaped for use between brackets or colons in an argument of _arguments. */
std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == ':' || c == '[' || c == ']' || c == '\\') result += '\\';
    result += c;
  }
  return result;
}

std::string action(const OptionWords& option) {
  switch (option.value) {
    case Value::kNone:
      return {};
    case Value::kFile:
      return ":file:_files";
    case Value::kChoice:
      return fmt::format(":value:({})", fmt::join(option.choices, " "));
    case Value::kOther:
      return ":value:";
  }
  return {};
}

std::string optionSpecifications(const CommandWords& command) {
  std::string text;
  for (const OptionWords& option : command.options) {
    for (const std::string& name : option.names) {
      text += fmt::format(" \\\n        {}",
                          quoted(name + "[" + escaped(option.help) + "]" + action(option)));
    }
  }
  return text;
}

std::string commandCase(const CommandWords& command) {
  std::string text = fmt::format("    ({})\n", quoted(command.path));
  if (!command.commands.empty()) {
    std::vector<std::string> names;
    for (const CommandWords& below : command.commands) {
      names.push_back(quoted(below.name() + ":" + escaped(below.help)));
    }
    text += fmt::format("      names=({})\n      [[ $PREFIX == -* ]] || _describe command names\n",
                        fmt::join(names, " "));
  }
  const std::string rest = !command.commands.empty() ? "'*: :'"
                           : command.choices().empty()
                               ? "'*:file:_files'"
                               : fmt::format("'*:value:({})'", fmt::join(command.choices(), " "));
  return text +
         fmt::format("      _arguments{} \\\n        {} ;;\n", optionSpecifications(command), rest);
}

} // namespace

std::string zshCompletion(const CommandWords& words) {
  std::string cases;
  visitCommands(words, [&cases](const CommandWords& command) { cases += commandCase(command); });
  return fmt::format(kScript, fmt::join(quotedPaths(words), "|"), cases);
}

} // namespace tlux::app

#include <fmt/format.h>

#include "completion/scripts.hpp"

namespace tlux::app {

namespace {

constexpr const char* kHead = R"(# fish completion for tlux, made by 'tlux completion fish'
function __tlux_at
    set -l at ''
    for word in (commandline -opc)[2..]
        switch "$at $word"
            case {}
                set at "$at $word"
        end
    end
    test "$at" = "$argv[1]"
end
)";

/** @p text in single quotes for fish. */
std::string fishQuoted(const std::string& text) {
  std::string result = "'";
  for (const char c : text) {
    if (c == '\'' || c == '\\') result += '\\';
    result += c;
  }
  return result + "'";
}

std::string optionLine(const std::string& where, const OptionWords& option) {
  std::string line = where;
  for (const std::string& name : option.names) {
    const bool isLong = name.starts_with("--");
    line += fmt::format(" {} {}", isLong ? "-l" : "-s", name.substr(isLong ? 2 : 1));
  }
  if (option.value == Value::kFile) line += " -r -F";
  if (option.value == Value::kOther) line += " -x";
  if (option.value == Value::kChoice) {
    line += fmt::format(" -x -a '{}'", fmt::join(option.choices, " "));
  }
  return line + " -d " + fishQuoted(option.help) + "\n";
}

std::string commandLines(const CommandWords& command) {
  const std::string where =
      fmt::format("complete -c tlux -n \"__tlux_at {}\"", fishQuoted(command.path));
  std::string lines;
  for (const OptionWords& option : command.options) {
    lines += optionLine(where, option);
  }
  for (const CommandWords& below : command.commands) {
    lines += fmt::format("{} -f -a {} -d {}\n", where, below.name(), fishQuoted(below.help));
  }
  if (!command.choices().empty()) {
    lines += fmt::format("{} -f -a '{}'\n", where, fmt::join(command.choices(), " "));
  }
  return lines;
}

} // namespace

std::string fishCompletion(const CommandWords& words) {
  std::string script = fmt::format(kHead, fmt::join(quotedPaths(words), " "));
  visitCommands(words, [&script](const CommandWords& command) { script += commandLines(command); });
  return script;
}

} // namespace tlux::app

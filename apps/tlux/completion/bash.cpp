#include <fmt/format.h>

#include "completion/scripts.hpp"

namespace tlux::app {

namespace {

// An empty answer makes the shell complete file names; compopt turns that off.
constexpr const char* kScript = R"(# bash completion for tlux, made by 'tlux completion bash'
_tlux() {{
  local word=${{COMP_WORDS[COMP_CWORD]}} previous=${{COMP_WORDS[COMP_CWORD - 1]}}
  local at= words= i
  for ((i = 1; i < COMP_CWORD; ++i)); do
    case "$at ${{COMP_WORDS[i]}}" in
      {}) at+=" ${{COMP_WORDS[i]}}" ;;
    esac
  done
  case "$at:$previous" in
{}  esac
  if [[ -z $words ]]; then
    case "$at:$word" in
{}    esac
  fi
  COMPREPLY=($(compgen -W "$words" -- "$word"))
}}
complete -o default -F _tlux tlux
)";

/** A pattern that matches if the word before the cursor is the option. */
std::string patternOf(const CommandWords& command, const OptionWords& option) {
  std::vector<std::string> patterns;
  for (const std::string& name : option.names) {
    patterns.push_back(quoted(command.path + ":" + name));
  }
  return fmt::format("{}", fmt::join(patterns, " | "));
}

/** The completions after each option that takes a value. */
std::string valueCases(const CommandWords& command) {
  std::string cases;
  std::vector<std::string> files;
  std::vector<std::string> others;
  for (const OptionWords& option : command.options) {
    const std::string pattern = patternOf(command, option);
    if (option.value == Value::kFile) files.push_back(pattern);
    if (option.value == Value::kOther) others.push_back(pattern);
    if (option.value == Value::kChoice) {
      cases += fmt::format("    {}) words='{}' ;;\n", pattern, fmt::join(option.choices, " "));
    }
  }
  if (!files.empty()) cases += fmt::format("    {}) return ;;\n", fmt::join(files, " | "));
  if (!others.empty()) {
    cases += fmt::format("    {}) compopt +o default 2>/dev/null; return ;;\n",
                         fmt::join(others, " | "));
  }
  return cases;
}

std::string wordCases(const CommandWords& command) {
  std::vector<std::string> options;
  for (const OptionWords& option : command.options) {
    options.push_back(option.names.back());
  }
  std::vector<std::string> plain = command.choices();
  for (const CommandWords& below : command.commands) {
    plain.push_back(below.name());
  }
  std::string cases = fmt::format("      {}*) words='{}' ;;\n", quoted(command.path + ":-"),
                                  fmt::join(options, " "));
  if (!plain.empty()) {
    cases += fmt::format("      {}*) words='{}' ;;\n", quoted(command.path + ":"),
                         fmt::join(plain, " "));
  }
  return cases;
}

} // namespace

std::string bashCompletion(const CommandWords& words) {
  std::string values;
  std::string plain;
  visitCommands(words, [&](const CommandWords& command) {
    values += valueCases(command);
    plain += wordCases(command);
  });
  return fmt::format(kScript, fmt::join(quotedPaths(words), " | "), values, plain);
}

} // namespace tlux::app

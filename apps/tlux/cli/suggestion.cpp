#include "cli/suggestion.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace tlux::app {

namespace {

/** Levenshtein distance: insertions, deletions and substitutions of letters. */
size_t distanceBetween(std::string_view left, std::string_view right) {
  std::vector<size_t> row(right.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < left.size(); ++i) {
    size_t diagonal = std::exchange(row[0], i + 1);
    for (size_t j = 0; j < right.size(); ++j) {
      const size_t exchanged = diagonal + (left[i] == right[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({exchanged, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

std::string suggestion(std::string_view word, const std::vector<std::string>& candidates) {
  const std::string nearest = nearestTo(word, candidates);
  return nearest.empty() ? "" : fmt::format("; did you mean '{}'?", nearest);
}

/** The innermost command given, and its path, such as "tlux op blur". */
std::pair<const CLI::App*, std::string> innermostCommand(const CLI::App& app) {
  const CLI::App* command = &app;
  std::string path = app.get_name();
  while (!command->get_subcommands().empty()) {
    command = command->get_subcommands().back();
    path += " " + command->get_name();
  }
  return {command, path};
}

std::vector<std::string> optionsOf(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      names.push_back("--" + name);
    }
  }
  return names;
}

} // namespace

std::string nearestTo(std::string_view word, const std::vector<std::string>& candidates) {
  // About one letter in three may be wrong.
  size_t best = (word.size() + 2) / 3 + 1;
  std::string nearest;
  for (const std::string& candidate : candidates) {
    const size_t distance = distanceBetween(word, candidate);
    if (distance >= best) continue;
    best = distance;
    nearest = candidate;
  }
  return nearest;
}

std::string describeUnknownCommand(const CLI::App& parser, const std::string& word) {
  std::vector<std::string> names;
  for (const CLI::App* command : parser.get_subcommands({})) {
    names.push_back(command->get_name());
  }
  const char* kind = parser.get_parent() == nullptr ? "a command" : "an operation";
  return fmt::format("'{}' is not {}{}", word, kind, suggestion(word, names));
}

std::string describeUnplaced(const CLI::App& app) {
  const std::vector<std::string> unplaced = app.remaining(true);
  if (unplaced.empty()) return "";
  const std::string& word = unplaced.front();
  const auto [command, path] = innermostCommand(app);
  if (word.starts_with('-')) {
    const std::string name = word.substr(0, word.find('='));
    return fmt::format("'{}' is not an option of {}{}", name, path,
                       suggestion(name, optionsOf(*command)));
  }
  if (!command->get_subcommands({}).empty()) return describeUnknownCommand(*command, word);
  return fmt::format("'{}' is one argument too many for {}", word, path);
}

} // namespace tlux::app

#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace tlux::app {

/** The candidate most similar to @p word, empty if none is similar. */
std::string nearestTo(std::string_view word, const std::vector<std::string>& candidates);

/** Message that @p parser has no such command, with a suggestion. */
std::string describeUnknownCommand(const CLI::App& parser, const std::string& word);

/** Message about the first argument that @p app did not recognise, if any. */
std::string describeUnplaced(const CLI::App& app);

} // namespace tlux::app

#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace tlux::app {

/** The candidate that @p word was most likely meant to be, empty if none comes near. */
std::string nearestTo(std::string_view word, const std::vector<std::string>& candidates);

/** Says that there is no command of this name below @p parser, and which one comes near. */
std::string describeUnknownCommand(const CLI::App& parser, const std::string& word);

/** Says what is wrong with the first argument that @p app could not place, if there is any. */
std::string describeUnplaced(const CLI::App& app);

} // namespace tlux::app

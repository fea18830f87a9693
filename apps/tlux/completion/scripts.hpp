#pragma once

#include <string>
#include <vector>

#include "cli/words.hpp"

namespace tlux::app {

/** Completion scripts for the program of @p words, one per shell. */
std::string bashCompletion(const CommandWords& words);
std::string zshCompletion(const CommandWords& words);
std::string fishCompletion(const CommandWords& words);

/** All paths except the program's own, each in single quotes. */
std::vector<std::string> quotedPaths(const CommandWords& words);

/** @p text in single quotes for bash and zsh. */
std::string quoted(const std::string& text);

} // namespace tlux::app

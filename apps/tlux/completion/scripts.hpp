#pragma once

#include <string>
#include <vector>

#include "cli/words.hpp"

namespace tlux::app {

/** Completion scripts for the program of @p words, one per shell. */
std::string bashCompletion(const CommandWords& words);
std::string zshCompletion(const CommandWords& words);
std::string fishCompletion(const CommandWords& words);

/** All paths but the program's own, each between single quotes. */
std::vector<std::string> quotedPaths(const CommandWords& words);

/** @p text between single quotes, as bash and zsh read it. */
std::string quoted(const std::string& text);

} // namespace tlux::app

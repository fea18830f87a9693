#pragma once

#include <string>

#include "cli/words.hpp"

namespace tlux::app {

/** The manual page of the program of @p words, in mdoc(7). */
std::string manualPage(const CommandWords& words);

} // namespace tlux::app

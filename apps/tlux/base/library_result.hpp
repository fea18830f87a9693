#pragma once

#include <cstdint>

namespace tlux::app {

/** Throws for every result of the library but success. */
void checkResult(uint32_t code);

} // namespace tlux::app

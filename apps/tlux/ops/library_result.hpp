#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <new>
#include <stdexcept>

#include "tlux.h"

namespace tlux::app {

/** Throws for every result of the library but success. */
inline void checkResult(uint32_t code) {
  if (code == TLUX_ERR_NO_MEMORY) throw std::bad_alloc();
  if (code != TLUX_OK) throw std::runtime_error(fmt::format("operation failed ({})", code));
}

} // namespace tlux::app

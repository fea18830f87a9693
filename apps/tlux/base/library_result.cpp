#include "base/library_result.hpp"

#include <fmt/format.h>

#include <new>
#include <stdexcept>

#include "tlux.h"

namespace tlux::app {

namespace {

const char* describe(uint32_t code) {
  switch (code) {
    case TLUX_ERR_INVALID_PARAM:
      return "the library refused the picture";
    case TLUX_ERR_THREAD:
      return "no thread could be started";
    default:
      return "the library failed";
  }
}

} // namespace

void checkResult(uint32_t code) {
  if (code == TLUX_ERR_NO_MEMORY) throw std::bad_alloc();
  if (code != TLUX_OK) throw std::runtime_error(fmt::format("{} ({})", describe(code), code));
}

} // namespace tlux::app

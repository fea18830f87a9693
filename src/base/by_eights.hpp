#pragma once

#include <cstddef>

#include "base/multiversion.hpp"

namespace tlux::detail {

// Calls body(i) for each i from 0 to count − 1, eight per iteration of the loop. For work without
// vector instructions, such as table look-ups, where counting would take as long as the work.
template <class Body>
TLUX_INLINED void forEachByEights(std::ptrdiff_t count, Body body) {
  std::ptrdiff_t i = 0;
  for (; i + 8 <= count; i += 8) {
    for (std::ptrdiff_t k = 0; k < 8; ++k) {
      body(i + k);
    }
  }
  for (; i < count; ++i) {
    body(i);
  }
}

} // namespace tlux::detail

#pragma once

#include <cstddef>

#include "base/multiversion.hpp"

namespace tlux::detail {

// Calls body(i) for i of 0 … count − 1, eight in a round of the loop: for what has no vector
// instruction, as look-ups in a table, beside which counting takes as long.
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

// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges: row differences.
#pragma once

#include <cstdint>

#include "base/multiversion.hpp"

// The change that an entering and a leaving row make to the sums of a window.
namespace tlux::detail {

template <class Value>
TLUX_OUT_OF_LINE void subtract(const Value* __restrict a, const Value* __restrict b,
                               std::int32_t count, double* __restrict out) {
  for (std::int32_t x = 0; x < count; ++x) {
    out[x] = a[x] - b[x];
  }
}

// out = a · b − c · d.
template <class Value>
TLUX_OUT_OF_LINE void subtractProducts(const Value* a, const Value* b, const Value* c,
                                       const Value* d, std::int32_t count, double* __restrict out) {
  for (std::int32_t x = 0; x < count; ++x) {
    out[x] = a[x] * b[x] - c[x] * d[x];
  }
}

} // namespace tlux::detail

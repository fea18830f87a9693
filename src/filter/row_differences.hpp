#pragma once

#include <cstdint>

// What a row that enters a window brings to its sums, and a row that leaves takes. The functions
// stay out of line, where their pointers keep the promise not to alias.
namespace tlux {

template <class Value>
[[gnu::noinline]] void subtract(const Value* __restrict a, const Value* __restrict b,
                                std::int32_t count, double* __restrict out) {
  for (std::int32_t x = 0; x < count; ++x) {
    out[x] = a[x] - b[x];
  }
}

// out = a · b − c · d.
template <class Value>
[[gnu::noinline]] void subtractProducts(const Value* a, const Value* b, const Value* c,
                                        const Value* d, std::int32_t count,
                                        double* __restrict out) {
  for (std::int32_t x = 0; x < count; ++x) {
    out[x] = a[x] * b[x] - c[x] * d[x];
  }
}

} // namespace tlux

// The fast guided filter (windows of 2r × 2r, edges repeated): interpolation of coefficients.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <numeric>

#include "base/fixed_point.hpp"

// Linear ×8 interpolation of coefficient maps, top-left aligned: sample 8x + j lies j/8 of the way
// from low sample x to x + 1. Horizontal first, then vertical.
namespace tlux::detail {

inline constexpr int kUpsampling = 8;

// The value kPhase/8 of the way from m to n, rounded down: (7m + n) >> 3, (3m + n) >> 2, …
template <int kPhase>
constexpr std::int32_t mixEighths(std::int32_t m, std::int32_t n) {
  constexpr int kCommon = std::gcd(kPhase, kUpsampling);
  constexpr int kTotal = kUpsampling / kCommon;
  constexpr int kLater = kPhase / kCommon;
  return wrappingAdd(wrappingMul(kTotal - kLater, m), wrappingMul(kLater, n)) >>
         std::countr_zero(unsigned{kTotal});
}

// Interpolates a row of lowWidth samples into 8 · lowWidth; the last sample is repeated.
void upsampleRow(const std::int32_t* lowRow, std::int32_t* line, std::ptrdiff_t lowWidth);

} // namespace tlux::detail

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <numeric>

#include "base/fixed_point.hpp"

// Linear ×8 interpolation of coefficient maps, top-left aligned: sample 8x + j lies j/8 of the way
// from low sample x to x + 1, horizontally first, then vertically.
namespace tlux {

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

// The same for samples of at most kMixable16 in magnitude, in 16-bit lanes: from the nearer sample,
// with the part of the difference as the upper half of a product.
inline constexpr std::int16_t kMixable16 = 16383;

template <int kPhase>
constexpr std::int16_t mixEighths(std::int16_t m, std::int16_t n) {
  constexpr bool kFromUpper = kPhase <= kUpsampling / 2;
  constexpr int kPart = kFromUpper ? kPhase : kUpsampling - kPhase;
  const std::int16_t near = kFromUpper ? m : n;
  const auto difference = static_cast<std::int16_t>(kFromUpper ? n - m : m - n);
  if constexpr (kPart == kUpsampling / 2) {
    return static_cast<std::int16_t>(near + (difference >> 1));
  } else {
    constexpr std::int16_t kScale = kPart << 13; // kPart / 8 of 2^16
    return static_cast<std::int16_t>(near + static_cast<std::int16_t>((difference * kScale) >> 16));
  }
}

// Interpolates a row of lowWidth samples into 8 · lowWidth; the last sample is repeated.
void upsampleRow(const std::int32_t* lowRow, std::int32_t* line, std::ptrdiff_t lowWidth);
// For samples that fit 16 bits.
void upsampleRow(const std::int32_t* lowRow, std::int16_t* line, std::ptrdiff_t lowWidth);

} // namespace tlux

#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "base/fixed_point.hpp"

namespace tlux::detail {

// Gains in Q10 applied to 8-bit codes in 12-bit linear light. A gain below unity is applied as its
// reciprocal to the inverted code, and the result inverted back: darkening compresses highlights
// the way brightening lifts shadows.

inline constexpr std::int32_t kUnityGain = 1024; // Q10

// The curves between codes and linear light.
struct TransferCurves {
  const std::uint16_t* degamma; // 256 entries
  const std::uint8_t* gamma;    // 4096 entries
};

// What a code is combined with by exclusive or, before and after: code ^ 255 is 255 - code.
constexpr std::uint8_t inversionFor(std::int32_t gain) {
  return gain < kUnityGain ? 255 : 0;
}

// Trunc(2^20 / gain) for gains below unity; 0 for a gain of 0. The quotient of floats is exact:
// where 2^20 / gain is no integer, it is at least 1/gain away from one, and rounding moves it by
// less than 2^20 / gain · 2^-23 = 1/(8·gain).
constexpr std::int32_t factorFor(std::int32_t gain) {
  const auto reciprocal =
      static_cast<std::int32_t>(1048576.0F / static_cast<float>(std::max(gain, 1)));
  const std::int32_t darkening = gain > 0 ? reciprocal : 0;
  return gain < kUnityGain ? darkening : gain;
}

// Products of reciprocals beyond 2^19 may leave 32 bits: they wrap.
constexpr std::int32_t multipliedLight(std::int32_t linear, std::int32_t factor) {
  return clampTo(wrappingMul(factor, linear) >> 10, 0, 4095);
}

// factorFor() of the gains below unity, for code that goes pixel by pixel.
inline constexpr auto kReciprocalGain = [] {
  std::array<std::int32_t, kUnityGain> table{};
  for (std::int32_t gain = 0; gain < kUnityGain; ++gain) {
    table[static_cast<std::size_t>(gain)] = factorFor(gain);
  }
  return table;
}();

inline std::uint8_t applyLinearGain(std::uint8_t code, std::uint16_t gain,
                                    const TransferCurves& curves) {
  const std::uint8_t inversion = inversionFor(gain);
  const std::int32_t factor = gain < kUnityGain ? kReciprocalGain[gain] : gain;
  const std::int32_t linear = curves.degamma[code ^ inversion];
  return curves.gamma[multipliedLight(linear, factor)] ^ inversion;
}

} // namespace tlux::detail

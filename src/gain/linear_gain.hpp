#pragma once

#include <array>
#include <cstdint>

#include "base/fixed_point.hpp"

namespace tlux::detail {

inline constexpr std::int32_t kUnityGain = 1024; // Q10

// Reciprocals in Q10 of the gains below unity; that of 0 is 0.
inline constexpr auto kReciprocalGain = [] {
  std::array<std::int32_t, kUnityGain> table{};
  for (std::int32_t gain = 1; gain < kUnityGain; ++gain) {
    table[static_cast<std::size_t>(gain)] = kUnityGain * kUnityGain / gain;
  }
  return table;
}();

// The curves between 8-bit codes and 12-bit linear light.
struct TransferCurves {
  const std::uint16_t* degamma; // 256 entries
  const std::uint8_t* gamma;    // 4096 entries
};

// Applies a Q10 gain to a code in linear light. A gain below unity is applied as its reciprocal to
// the inverted code, so that darkening compresses highlights the way brightening lifts shadows.
inline std::uint8_t applyLinearGain(std::uint8_t code, std::uint16_t gain,
                                    const TransferCurves& curves) {
  const bool darkens = gain < kUnityGain;
  const std::uint8_t inversion = darkens ? 255 : 0; // code ^ 255 is 255 - code
  const std::int32_t factor = darkens ? kReciprocalGain[gain] : gain;
  const std::int32_t linear = curves.degamma[code ^ inversion];
  const std::int32_t lifted = clampTo(wrappingMul(linear, factor) >> 10, 0, 4095);
  return curves.gamma[lifted] ^ inversion;
}

} // namespace tlux::detail

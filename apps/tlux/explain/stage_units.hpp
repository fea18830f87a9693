#pragma once

#include <cstddef>
#include <cstdint>

#include "tlux.h"

namespace tlux::app {

// The units of the library's intermediate results: gains in Q10, scores as the natural logarithm of
// light in Q10.

inline constexpr int32_t kUnityGain = 1024;
inline constexpr int32_t kUnityScore = 1024; // a factor of e
inline constexpr int16_t kLargestScore = 32767;

/** Entries of a gain table, one for each 16-bit pattern of a score. */
inline constexpr size_t kScores = 65536;

constexpr double factorOf(uint16_t gain) {
  return static_cast<double>(gain) / kUnityGain;
}

} // namespace tlux::app

#pragma once

#include <array>
#include <cstdint>

// The non-linear steps of the score as constant tables, made by the compiler.
namespace tlux::detail {

// Linear light v to log luminance, trunc(1024·ln(v + 30)). The 30 keeps noise in the dark from
// being stretched.
inline constexpr std::int32_t kLinearLevels = 16384;
extern const std::array<std::int16_t, kLinearLevels> kLogTable;

// Local energy v, the mean square of the detail in 1/1024, to its deviation, trunc(sqrt(1024·(v +
// 64))). The 64 is a floor, so that noise in flat areas does not count as detail.
inline constexpr std::int32_t kEnergyLevels = 32768;
extern const std::array<std::int16_t, kEnergyLevels> kDeviationTable;

// Deviation d to trunc(524288 / d).
inline constexpr std::int32_t kDeviationLevels = 5799; // 1 + the largest entry of kDeviationTable
extern const std::array<std::uint32_t, kDeviationLevels> kReciprocalTable;

} // namespace tlux::detail

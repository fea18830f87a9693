#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// Video range: luma 16 to 235 and chroma 16 to 240, BT.601 and BT.709.
namespace tlux::detail {

inline constexpr std::int32_t kVideoBlack = 16;
inline constexpr std::int32_t kVideoWhite = 235;
inline constexpr std::int32_t kVideoChromaEnd = 240;

// Full-range luma of every video code, rounded; codes outside the range give black or white.
extern const std::array<std::uint8_t, 256> kFullRangeLuma;

// Converts out = a · guide + b, Q10, from full-range codes to video codes: a stays, b is scaled and
// shifted.
void toVideoRange(const std::int32_t* a, std::int32_t* b, std::ptrdiff_t count);

// Clamps results to low … high; a sample that was already outside may stay where it was.
void keepInRange(const std::uint8_t* before, std::uint8_t* after, std::ptrdiff_t count,
                 std::uint8_t low, std::uint8_t high);

} // namespace tlux::detail

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// The tables of the 8-bit L*a*b* conversion, computed at compile time in integers, so every
// compiler gives the same ones.
namespace tlux::detail {

namespace lab {

// The companding curve f of CIE L*a*b* at i / 255, in Q10: floor(1024·f + 1/128). Cube root above
// 0.008856 (i > 2), below it the line 7.787·t + 16/116 = 7787·i / 255000 + 4/29.
constexpr std::array<std::int32_t, 256> makeCbrtTable() {
  std::array<std::int32_t, 256> table{};
  for (std::int64_t i = 0; i <= 2; ++i) {
    constexpr std::int64_t kDenominator = 255000 * 29;
    const std::int64_t numerator = 1024 * (7787 * 29 * i + 4 * 255000);
    table[static_cast<std::size_t>(i)] =
        static_cast<std::int32_t>((128 * numerator + kDenominator) / (128 * kDenominator));
  }
  // The largest n with n - 1/128 <= 1024·cbrt(i / 255), that is (128·n - 1)^3 · 255 <= 2^51 · i.
  constexpr std::int64_t kScale = std::int64_t{1} << 51;
  std::int64_t n = 0;
  const auto isReached = [](std::int64_t candidate, std::int64_t i) {
    const std::int64_t root = 128 * candidate - 1;
    return root * root * root * 255 <= kScale * i;
  };
  for (std::int64_t i = 3; i < 256; ++i) {
    while (isReached(n + 1, i)) {
      ++n;
    }
    table[static_cast<std::size_t>(i)] = static_cast<std::int32_t>(n);
  }
  return table;
}

// L* of a companded value v in Q10, 0..255: round((116·v / 1024 - 16)·255 / 100), at least 0.
constexpr std::array<std::int32_t, 1025> makeLightnessTable() {
  std::array<std::int32_t, 1025> table{};
  constexpr std::int32_t kDenominator = 1024 * 100;
  for (std::int32_t v = 0; v <= 1024; ++v) {
    const std::int32_t numerator = (116 * v - 16 * 1024) * 255;
    table[static_cast<std::size_t>(v)] =
        numerator < 0 ? 0 : (2 * numerator + kDenominator) / (2 * kDenominator);
  }
  return table;
}

} // namespace lab

inline constexpr std::array<std::int32_t, 256> lab_cbrt_table = lab::makeCbrtTable();
inline constexpr std::array<std::int32_t, 1025> lab_l_table = lab::makeLightnessTable();

} // namespace tlux::detail

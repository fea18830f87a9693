#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

// Integer helpers of the fixed-point kernels. Products that may overflow 32 bits wrap here, in
// unsigned arithmetic, so sanitizers still report every other overflow.
namespace tlux::detail {

constexpr std::int32_t wrappingAdd(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

constexpr std::int32_t wrappingSub(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

constexpr std::int32_t wrappingMul(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

constexpr std::int32_t clampTo(std::int32_t value, std::int32_t low, std::int32_t high) {
  return value < low ? low : (value > high ? high : value);
}

constexpr std::uint8_t clampToByte(std::int32_t value) {
  return static_cast<std::uint8_t>(clampTo(value, 0, 255));
}

// Truncates toward zero and saturates; not-a-number gives 0. The library's only conversion from
// floating point to integers: a bare cast is undefined out of range and varies by processor.
template <class Integer>
constexpr Integer saturatingTrunc(double value) {
  static_assert(std::is_integral_v<Integer> && sizeof(Integer) <= 4);
  constexpr auto kMin = std::numeric_limits<Integer>::min();
  constexpr auto kMax = std::numeric_limits<Integer>::max();
  if (value != value) return 0; // not a number
  if (value <= static_cast<double>(kMin)) return kMin;
  if (value >= static_cast<double>(kMax)) return kMax;
  return static_cast<Integer>(value);
}

} // namespace tlux::detail

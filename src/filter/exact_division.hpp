#pragma once

#include <bit>
#include <cstdint>

// Integer quotients, truncated toward zero, computed in floating point, where processors have
// vector instructions.
namespace tlux::detail {

// a / n for |a| < 2²⁴ and 0 < n < 2²⁴. Both are exact as floats; a quotient that is not whole is at
// least 1 / n from the next whole number, more than its rounding error of less than |a / n| · 2⁻²⁴.
constexpr std::int32_t truncatedQuotient(std::int32_t a, std::int32_t n) {
  return static_cast<std::int32_t>(static_cast<float>(a) / static_cast<float>(n));
}

// The double just above 1 / n: for |a| + n < 2⁵¹, a / n is the truncated product a ·
// reciprocalAbove(n). Its relative excess over 1 / n is below 2⁻⁵¹ even with the rounding of the
// product, so the product never falls below a whole quotient, nor does it reach the next one, which
// is at least a relative 1 / (|a| + n) away.
constexpr double reciprocalAbove(std::int64_t n) {
  return std::bit_cast<double>(std::bit_cast<std::uint64_t>(1.0 / static_cast<double>(n)) + 1);
}

} // namespace tlux::detail

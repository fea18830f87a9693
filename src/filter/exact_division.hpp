#pragma once

#include <bit>
#include <cstdint>

// Integer quotients, truncated toward zero, by floating-point arithmetic, which processors have
// vector instructions for.
namespace tlux::detail {

// a / n for |a| < 2²⁴ and 0 < n < 2²⁴. Both are floats exactly; a quotient that is not whole lies
// at least 1 / n from the next whole number, and its rounding error of less than |a / n| · 2⁻²⁴
// does not reach that far.
constexpr std::int32_t truncatedQuotient(std::int32_t a, std::int32_t n) {
  return static_cast<std::int32_t>(static_cast<float>(a) / static_cast<float>(n));
}

// The double above 1 / n, with which a / n is the truncated product a · reciprocalAbove(n) for
// |a| + n < 2⁵¹: it exceeds 1 / n by a share of less than 2⁻⁵¹ even with the rounding of the
// product, so the product never falls below a whole quotient, nor does it rise to the next one,
// which is at least a share of 1 / (|a| + n) away.
constexpr double reciprocalAbove(std::int64_t n) {
  return std::bit_cast<double>(std::bit_cast<std::uint64_t>(1.0 / static_cast<double>(n)) + 1);
}

} // namespace tlux::detail

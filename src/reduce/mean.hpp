#pragma once

#include <cstdint>

namespace tlux::detail {

// How the samples of a sub-grid become one output. All means truncate.
enum class Mean {
  kOne,     // a single sample
  kHalf,    // of two
  kQuarter, // of four
  kNinth,   // of nine: sum * 116508 >> 20
  kTwelfth, // of twelve: sum * 87381 >> 20
  kThird,   // two thirds of the mean of rows 0 and 1, one third of the mean of row 2
};

// The fixed multipliers in 20 bits. Those of nine and twelve are rounded down, which loses one
// level wherever the mean is a whole number; the one of three is rounded up and loses nothing.
inline constexpr std::uint32_t kNinthQ20 = 116508;
inline constexpr std::uint32_t kTwelfthQ20 = 87381;
inline constexpr std::uint32_t kThirdQ20 = 349526;

// The same quotients from 16-bit multipliers: there is an instruction that multiplies 16-bit lanes
// and keeps the upper half. Equal over the whole range of sums, as checked below.
constexpr std::uint32_t ninth(std::uint32_t sum) {
  return (sum * 7281) >> 16;
}
constexpr std::uint32_t twelfth(std::uint32_t sum) {
  return (sum * 5461) >> 16;
}
constexpr std::uint32_t third(std::uint32_t sum) {
  return (sum * 21846) >> 16;
}

constexpr bool shortMultipliersAreExact() {
  for (std::uint32_t sum = 0; sum <= 12 * 255; ++sum) {
    if (sum <= 9 * 255 && ninth(sum) != (sum * kNinthQ20) >> 20) return false;
    if (sum <= 3 * 255 && third(sum) != (sum * kThirdQ20) >> 20) return false;
    if (twelfth(sum) != (sum * kTwelfthQ20) >> 20) return false;
  }
  return true;
}
static_assert(shortMultipliersAreExact());

template <Mean kMean>
constexpr std::uint8_t meanOf(std::uint32_t sum) {
  static_assert(kMean != Mean::kThird, "formed from two sums");
  switch (kMean) {
    case Mean::kHalf:
      return static_cast<std::uint8_t>(sum >> 1);
    case Mean::kQuarter:
      return static_cast<std::uint8_t>(sum >> 2);
    case Mean::kNinth:
      return static_cast<std::uint8_t>(ninth(sum));
    case Mean::kTwelfth:
      return static_cast<std::uint8_t>(twelfth(sum));
    default:
      return static_cast<std::uint8_t>(sum);
  }
}

} // namespace tlux::detail

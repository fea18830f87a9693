#pragma once

#if defined(TLUX_PLAIN_LANES) // in tests, so that this arithmetic is compared as well
#define TLUX_WIDE_PRODUCTS
#endif

namespace tlux::detail {
namespace {
inline constexpr int kColumns = 16;
}
} // namespace tlux::detail

#include "base/lanes_vectors.hpp"

// For processors without a header of their own; also documents what each operation does. See
// lanes.hpp.
namespace tlux::detail {
namespace {

inline constexpr int kShorts = kColumns / 2; // in a vector

// a · b / 2^16, rounded down.
[[gnu::always_inline]] inline Shorts multiplyHigh(Shorts a, Shorts b) {
  Shorts out = {};
  for (int i = 0; i < kShorts; ++i) {
    out[i] = static_cast<std::int16_t>((a[i] * b[i]) >> 16);
  }
  return out;
}

[[gnu::always_inline]] inline Shorts minimum(Shorts a, Shorts b) {
  Shorts out = {};
  for (int i = 0; i < kShorts; ++i) {
    out[i] = a[i] < b[i] ? a[i] : b[i];
  }
  return out;
}

[[gnu::always_inline]] inline Shorts maximum(Shorts a, Shorts b) {
  Shorts out = {};
  for (int i = 0; i < kShorts; ++i) {
    out[i] = a[i] < b[i] ? b[i] : a[i];
  }
  return out;
}

[[gnu::always_inline]] inline Shorts magnitude(Shorts v) {
  return maximum(v, -v);
}

// Whether any number is at least `limit`.
[[gnu::always_inline]] inline bool isAnyFrom(std::int16_t limit, Shorts v) {
  bool isAny = false;
  for (int i = 0; i < kShorts; ++i) {
    isAny |= v[i] >= limit;
  }
  return isAny;
}

// Bytes as 16-bit numbers, and back with clamping to 0 … 255. The low half holds the first eight of
// each 16 columns.
[[gnu::always_inline]] inline Halves widen(Bytes v) {
  Halves out = {};
  for (int i = 0; i < kShorts; ++i) {
    out.low[i] = v[i];
    out.high[i] = v[kShorts + i];
  }
  return out;
}

[[gnu::always_inline]] inline Bytes narrow(Halves v) {
  Bytes out = {};
  for (int i = 0; i < kShorts; ++i) {
    const std::int16_t low = v.low[i];
    const std::int16_t high = v.high[i];
    out[i] = static_cast<std::uint8_t>(low < 0 ? 0 : (low > 255 ? 255 : low));
    out[kShorts + i] = static_cast<std::uint8_t>(high < 0 ? 0 : (high > 255 ? 255 : high));
  }
  return out;
}

// Each of kColumns / 8 numbers repeated for its eight columns, in the order of widen().
[[gnu::always_inline]] inline Halves spread(const std::int16_t* cells) {
  return {Shorts{} + cells[0], Shorts{} + cells[1]};
}

// Sums of the bytes 2k and 2k + 1.
[[gnu::always_inline]] inline Shorts pairSums(Bytes v) {
  Shorts out = {};
  for (int i = 0; i < kShorts; ++i) {
    out[i] = static_cast<std::int16_t>(v[2 * i] + v[2 * i + 1]);
  }
  return out;
}

// Each number repeated for both columns of its pair, in the order of widen().
[[gnu::always_inline]] inline Halves twice(Shorts v) {
  Halves out = {};
  for (int i = 0; i < kShorts; ++i) {
    out.low[i] = v[i / 2];
    out.high[i] = v[kShorts / 2 + i / 2];
  }
  return out;
}

// dividend · 1024 / divisor, truncated, at most 32767, for dividends of 0 … 510 and divisors of
// 1 … 510.
//
// The float quotient truncates to the exact one: dividend a <= 510 · 1024 and divisor s are exact,
// the rounding error of the quotient is at most a/s · 2^-24 < 1/s, and unless a/s is an integer it
// is at least 1/s below the next one. Scaling both by powers of two, as other headers do, changes
// none of this.
[[gnu::always_inline]] inline Shorts quotientsQ10(Shorts dividends, Shorts divisors) {
  Shorts out = {};
  for (int i = 0; i < kShorts; ++i) {
    const float dividend = static_cast<float>(dividends[i]) * 1024.0F;
    const auto quotient = static_cast<std::int32_t>(dividend / static_cast<float>(divisors[i]));
    out[i] = static_cast<std::int16_t>(quotient > 32767 ? 32767 : quotient);
  }
  return out;
}

#if defined(TLUX_WIDE_PRODUCTS)

// Bytes times 2^kShift, in the order of widen().
template <int kShift>
[[gnu::always_inline]] inline Halves widenScaled(Bytes v) {
  const Halves wide = widen(v);
  return {wide.low << kShift, wide.high << kShift};
}

// (a + b) / 2, rounded down.
[[gnu::always_inline]] inline Shorts halfway(Shorts a, Shorts b) {
  Shorts out = {};
  for (int i = 0; i < kShorts; ++i) {
    out[i] = static_cast<std::int16_t>((a[i] + b[i]) >> 1);
  }
  return out;
}

[[gnu::always_inline]] inline Wide product(Shorts a, Shorts b) {
  Wide out = {};
  for (int i = 0; i < kShorts / 2; ++i) {
    out.low[i] = a[i] * b[i];
    out.high[i] = a[kShorts / 2 + i] * b[kShorts / 2 + i];
  }
  return out;
}

// (a + b) / 2^16, rounded down.
[[gnu::always_inline]] inline Shorts upperHalves(const Wide& a, const Wide& b) {
  const Wide sum = a + b;
  Shorts out = {};
  for (int i = 0; i < kShorts / 2; ++i) {
    out[i] = static_cast<std::int16_t>(sum.low[i] >> 16);
    out[kShorts / 2 + i] = static_cast<std::int16_t>(sum.high[i] >> 16);
  }
  return out;
}

// from + k · step / 8, rounded down, for the columns k = 0 … 7 of kColumns / 8 cells with one
// number each. Reads up to four numbers from each pointer.
[[gnu::always_inline]] inline Halves eighths(const std::int16_t* from, const std::int16_t* steps) {
  Halves out = {};
  for (int k = 0; k < 8; ++k) {
    out.low[k] = static_cast<std::int16_t>(from[0] + ((k * steps[0]) >> 3));
    out.high[k] = static_cast<std::int16_t>(from[1] + ((k * steps[1]) >> 3));
  }
  return out;
}

// from + k · step.
[[gnu::always_inline]] inline WideHalves ramps(const std::int32_t* from,
                                               const std::int32_t* steps) {
  WideHalves out = {};
  for (int k = 0; k < 4; ++k) {
    out.low.low[k] = from[0] + k * steps[0];
    out.low.high[k] = from[0] + (4 + k) * steps[0];
    out.high.low[k] = from[1] + k * steps[1];
    out.high.high[k] = from[1] + (4 + k) * steps[1];
  }
  return out;
}

#endif

} // namespace
} // namespace tlux::detail

#pragma once

#include <emmintrin.h>

namespace tlux::detail {
namespace {
inline constexpr int kColumns = 16;
}
} // namespace tlux::detail

#include "base/lanes_vectors.hpp"

// See lanes.hpp, and lanes_plain.hpp for what each does.
namespace tlux::detail {
namespace {

[[gnu::always_inline]] inline __m128i raw(const Shorts& v) {
  return as<__m128i>(v);
}

[[gnu::always_inline]] inline Shorts multiplyHigh(Shorts a, Shorts b) {
  return as<Shorts>(_mm_mulhi_epi16(raw(a), raw(b)));
}

[[gnu::always_inline]] inline Shorts minimum(Shorts a, Shorts b) {
  return as<Shorts>(_mm_min_epi16(raw(a), raw(b)));
}

[[gnu::always_inline]] inline Shorts maximum(Shorts a, Shorts b) {
  return as<Shorts>(_mm_max_epi16(raw(a), raw(b)));
}

[[gnu::always_inline]] inline Shorts magnitude(Shorts v) {
  return maximum(v, -v);
}

[[gnu::always_inline]] inline bool isAnyFrom(std::int16_t limit, Shorts v) {
  return _mm_movemask_epi8(raw(v >= limit)) != 0;
}

[[gnu::always_inline]] inline Halves widen(Bytes v) {
  const __m128i zero = _mm_setzero_si128();
  return {as<Shorts>(_mm_unpacklo_epi8(as<__m128i>(v), zero)),
          as<Shorts>(_mm_unpackhi_epi8(as<__m128i>(v), zero))};
}

[[gnu::always_inline]] inline Bytes narrow(Halves v) {
  return as<Bytes>(_mm_packus_epi16(raw(v.low), raw(v.high)));
}

[[gnu::always_inline]] inline Halves spread(const std::int16_t* cells) {
  std::int32_t two = 0;
  std::memcpy(&two, cells, sizeof two);
  const __m128i both = _mm_cvtsi32_si128(two);
  const __m128i low = _mm_shufflelo_epi16(both, 0x00);
  const __m128i high = _mm_shufflelo_epi16(both, 0x55);
  return {as<Shorts>(_mm_unpacklo_epi64(low, low)), as<Shorts>(_mm_unpacklo_epi64(high, high))};
}

[[gnu::always_inline]] inline Shorts pairSums(Bytes v) {
  const Shorts pairs = as<Shorts>(v);
  return (pairs & 0xFF) + shiftRightUnsigned(pairs, 8);
}

[[gnu::always_inline]] inline Halves twice(Shorts v) {
  return {as<Shorts>(_mm_unpacklo_epi16(raw(v), raw(v))),
          as<Shorts>(_mm_unpackhi_epi16(raw(v), raw(v)))};
}

// In 32 bits, dividend · 2^16 over divisor · 2^6.
[[gnu::always_inline]] inline Shorts quotientsQ10(Shorts dividends, Shorts divisors) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i scaled = raw(divisors << 6);
  const Ints low = quotientsOf(as<Ints>(_mm_unpacklo_epi16(zero, raw(dividends))),
                               as<Ints>(_mm_unpacklo_epi16(scaled, zero)));
  const Ints high = quotientsOf(as<Ints>(_mm_unpackhi_epi16(zero, raw(dividends))),
                                as<Ints>(_mm_unpackhi_epi16(scaled, zero)));
  return as<Shorts>(_mm_packs_epi32(as<__m128i>(low), as<__m128i>(high)));
}

} // namespace
} // namespace tlux::detail

#pragma once

#include <immintrin.h>

namespace tlux::detail {
namespace {
inline constexpr int kColumns = 64;
}
} // namespace tlux::detail

#include "base/lanes_vectors.hpp"

// See lanes.hpp, and lanes_plain.hpp for what each does.
namespace tlux::detail {
namespace {

[[gnu::always_inline]] inline __m512i raw(const Shorts& v) {
  return as<__m512i>(v);
}

[[gnu::always_inline]] inline Shorts multiplyHigh(Shorts a, Shorts b) {
  return as<Shorts>(_mm512_mulhi_epi16(raw(a), raw(b)));
}

[[gnu::always_inline]] inline Shorts minimum(Shorts a, Shorts b) {
  return as<Shorts>(_mm512_min_epi16(raw(a), raw(b)));
}

[[gnu::always_inline]] inline Shorts maximum(Shorts a, Shorts b) {
  return as<Shorts>(_mm512_max_epi16(raw(a), raw(b)));
}

[[gnu::always_inline]] inline Shorts magnitude(Shorts v) {
  return as<Shorts>(_mm512_abs_epi16(raw(v)));
}

[[gnu::always_inline]] inline bool isAnyFrom(std::int16_t limit, Shorts v) {
  return _mm512_movepi16_mask(raw(v >= limit)) != 0;
}

[[gnu::always_inline]] inline Halves widen(Bytes v) {
  const __m512i zero = _mm512_setzero_si512();
  return {as<Shorts>(_mm512_unpacklo_epi8(as<__m512i>(v), zero)),
          as<Shorts>(_mm512_unpackhi_epi8(as<__m512i>(v), zero))};
}

[[gnu::always_inline]] inline Bytes narrow(Halves v) {
  return as<Bytes>(_mm512_packus_epi16(raw(v.low), raw(v.high)));
}

[[gnu::always_inline]] inline Halves spread(const std::int16_t* cells) {
  __m128i eight;
  std::memcpy(&eight, cells, sizeof eight);
  // Masked, since GCC warns about the undefined value inside the plain form.
  const __m512i lanes = _mm512_maskz_broadcast_i32x4(0xFFFF, eight);
  const __m512i low = _mm512_set_epi64(0x0D0C0D0C0D0C0D0C, 0x0D0C0D0C0D0C0D0C, 0x0908090809080908,
                                       0x0908090809080908, 0x0504050405040504, 0x0504050405040504,
                                       0x0100010001000100, 0x0100010001000100);
  const __m512i high = _mm512_set_epi64(0x0F0E0F0E0F0E0F0E, 0x0F0E0F0E0F0E0F0E, 0x0B0A0B0A0B0A0B0A,
                                        0x0B0A0B0A0B0A0B0A, 0x0706070607060706, 0x0706070607060706,
                                        0x0302030203020302, 0x0302030203020302);
  return {as<Shorts>(_mm512_shuffle_epi8(lanes, low)),
          as<Shorts>(_mm512_shuffle_epi8(lanes, high))};
}

[[gnu::always_inline]] inline Shorts pairSums(Bytes v) {
  return as<Shorts>(_mm512_maddubs_epi16(as<__m512i>(v), _mm512_set1_epi8(1)));
}

[[gnu::always_inline]] inline Halves twice(Shorts v) {
  return {as<Shorts>(_mm512_unpacklo_epi16(raw(v), raw(v))),
          as<Shorts>(_mm512_unpackhi_epi16(raw(v), raw(v)))};
}

// In 32 bits, dividend · 2^16 over divisor · 2^6.
[[gnu::always_inline]] inline Shorts quotientsQ10(Shorts dividends, Shorts divisors) {
  const __m512i zero = _mm512_setzero_si512();
  const __m512i scaled = raw(divisors << 6);
  const Ints low = quotientsOf(as<Ints>(_mm512_unpacklo_epi16(zero, raw(dividends))),
                               as<Ints>(_mm512_unpacklo_epi16(scaled, zero)));
  const Ints high = quotientsOf(as<Ints>(_mm512_unpackhi_epi16(zero, raw(dividends))),
                                as<Ints>(_mm512_unpackhi_epi16(scaled, zero)));
  return as<Shorts>(_mm512_packs_epi32(as<__m512i>(low), as<__m512i>(high)));
}

} // namespace
} // namespace tlux::detail

#pragma once

#include <immintrin.h>

namespace tlux::detail {
namespace {
inline constexpr int kColumns = 32;
}
} // namespace tlux::detail

#include "base/lanes_vectors.hpp"

// See lanes.hpp, and lanes_plain.hpp for what each does.
namespace tlux::detail {
namespace {

[[gnu::always_inline]] inline __m256i raw(const Shorts& v) {
  return as<__m256i>(v);
}

[[gnu::always_inline]] inline Shorts multiplyHigh(Shorts a, Shorts b) {
  return as<Shorts>(_mm256_mulhi_epi16(raw(a), raw(b)));
}

[[gnu::always_inline]] inline Shorts minimum(Shorts a, Shorts b) {
  return as<Shorts>(_mm256_min_epi16(raw(a), raw(b)));
}

[[gnu::always_inline]] inline Shorts maximum(Shorts a, Shorts b) {
  return as<Shorts>(_mm256_max_epi16(raw(a), raw(b)));
}

[[gnu::always_inline]] inline Shorts magnitude(Shorts v) {
  return as<Shorts>(_mm256_abs_epi16(raw(v)));
}

[[gnu::always_inline]] inline bool isAnyFrom(std::int16_t limit, Shorts v) {
  return _mm256_movemask_epi8(raw(v >= limit)) != 0;
}

[[gnu::always_inline]] inline Halves widen(Bytes v) {
  const __m256i zero = _mm256_setzero_si256();
  return {as<Shorts>(_mm256_unpacklo_epi8(as<__m256i>(v), zero)),
          as<Shorts>(_mm256_unpackhi_epi8(as<__m256i>(v), zero))};
}

[[gnu::always_inline]] inline Bytes narrow(Halves v) {
  return as<Bytes>(_mm256_packus_epi16(raw(v.low), raw(v.high)));
}

[[gnu::always_inline]] inline Halves spread(const std::int16_t* cells) {
  std::int64_t four = 0;
  std::memcpy(&four, cells, sizeof four);
  const __m256i lanes = _mm256_set1_epi64x(four);
  const __m256i low = _mm256_set_epi64x(0x0504050405040504, 0x0504050405040504, 0x0100010001000100,
                                        0x0100010001000100);
  const __m256i high = _mm256_set_epi64x(0x0706070607060706, 0x0706070607060706, 0x0302030203020302,
                                         0x0302030203020302);
  return {as<Shorts>(_mm256_shuffle_epi8(lanes, low)),
          as<Shorts>(_mm256_shuffle_epi8(lanes, high))};
}

[[gnu::always_inline]] inline Shorts pairSums(Bytes v) {
  return as<Shorts>(_mm256_maddubs_epi16(as<__m256i>(v), _mm256_set1_epi8(1)));
}

[[gnu::always_inline]] inline Halves twice(Shorts v) {
  return {as<Shorts>(_mm256_unpacklo_epi16(raw(v), raw(v))),
          as<Shorts>(_mm256_unpackhi_epi16(raw(v), raw(v)))};
}

// In 32 bits, dividend · 2^16 over divisor · 2^6.
[[gnu::always_inline]] inline Shorts quotientsQ10(Shorts dividends, Shorts divisors) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i scaled = raw(divisors << 6);
  const Ints low = quotientsOf(as<Ints>(_mm256_unpacklo_epi16(zero, raw(dividends))),
                               as<Ints>(_mm256_unpacklo_epi16(scaled, zero)));
  const Ints high = quotientsOf(as<Ints>(_mm256_unpackhi_epi16(zero, raw(dividends))),
                                as<Ints>(_mm256_unpackhi_epi16(scaled, zero)));
  return as<Shorts>(_mm256_packs_epi32(as<__m256i>(low), as<__m256i>(high)));
}

} // namespace
} // namespace tlux::detail

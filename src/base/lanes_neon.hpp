#pragma once

#include <arm_neon.h>

#define TLUX_NEON_LANES
#define TLUX_WIDE_PRODUCTS

namespace tlux::detail {
namespace {
inline constexpr int kColumns = 16;
}
} // namespace tlux::detail

#include "base/lanes_vectors.hpp"

// See lanes.hpp, and lanes_plain.hpp for what each does.
namespace tlux::detail {
namespace {

[[gnu::always_inline]] inline int16x8_t raw(const Shorts& v) {
  return as<int16x8_t>(v);
}

[[gnu::always_inline]] inline Shorts multiplyHigh(Shorts a, Shorts b) {
  const int16x8_t low =
      vreinterpretq_s16_s32(vmull_s16(vget_low_s16(raw(a)), vget_low_s16(raw(b))));
  const int16x8_t high = vreinterpretq_s16_s32(vmull_high_s16(raw(a), raw(b)));
  return as<Shorts>(vuzp2q_s16(low, high));
}

[[gnu::always_inline]] inline Shorts minimum(Shorts a, Shorts b) {
  return as<Shorts>(vminq_s16(raw(a), raw(b)));
}

[[gnu::always_inline]] inline Shorts maximum(Shorts a, Shorts b) {
  return as<Shorts>(vmaxq_s16(raw(a), raw(b)));
}

[[gnu::always_inline]] inline bool isAnyFrom(std::int16_t limit, Shorts v) {
  return vmaxvq_s16(raw(v)) >= limit;
}

[[gnu::always_inline]] inline Halves widen(Bytes v) {
  const auto bytes = as<uint8x16_t>(v);
  return {as<Shorts>(vmovl_u8(vget_low_u8(bytes))), as<Shorts>(vmovl_high_u8(bytes))};
}

template <int kShift>
[[gnu::always_inline]] inline Halves widenScaled(Bytes v) {
  const auto bytes = as<uint8x16_t>(v);
  return {as<Shorts>(vshll_n_u8(vget_low_u8(bytes), kShift)),
          as<Shorts>(vshll_high_n_u8(bytes, kShift))};
}

[[gnu::always_inline]] inline Bytes narrow(Halves v) {
  return as<Bytes>(vqmovun_high_s16(vqmovun_s16(raw(v.low)), raw(v.high)));
}

[[gnu::always_inline]] inline Halves spread(const std::int16_t* cells) {
  return {as<Shorts>(vld1q_dup_s16(cells)), as<Shorts>(vld1q_dup_s16(cells + 1))};
}

[[gnu::always_inline]] inline Shorts pairSums(Bytes v) {
  return as<Shorts>(vpaddlq_u8(as<uint8x16_t>(v)));
}

// The upper half of twice the product with 2^5 · (v − 128).
[[gnu::always_inline]] inline Halves multiplyCentredQ10(const Halves& a, Bytes v) {
  const auto centred = as<int8x16_t>(v ^ 0x80);
  return {as<Shorts>(vqdmulhq_s16(raw(a.low), vshll_n_s8(vget_low_s8(centred), 5))),
          as<Shorts>(vqdmulhq_s16(raw(a.high), vshll_high_n_s8(centred, 5)))};
}

[[gnu::always_inline]] inline Halves distancesFromCentre(Bytes v) {
  const auto bytes = as<uint8x16_t>(v);
  const uint8x16_t centre = vdupq_n_u8(128);
  return {as<Shorts>(vabdl_u8(vget_low_u8(bytes), vget_low_u8(centre))),
          as<Shorts>(vabdl_high_u8(bytes, centre))};
}

template <int kShift>
[[gnu::always_inline]] inline Bytes addShifted(Bytes v, const Halves& b) {
  const Halves scaled = widenScaled<kShift>(v);
  const uint8x8_t low = vqshrun_n_s16(raw(scaled.low + b.low), kShift);
  return as<Bytes>(vqshrun_high_n_s16(low, raw(scaled.high + b.high), kShift));
}

// The first bytes of all pairs, then the second bytes.
[[gnu::always_inline]] inline BytePairs loadPairs(const std::uint8_t* from) {
  const uint8x16x2_t pairs = vld2q_u8(from);
  return {as<Bytes>(pairs.val[0]), as<Bytes>(pairs.val[1])};
}

[[gnu::always_inline]] inline void storePairs(std::uint8_t* to, const BytePairs& pairs) {
  const uint8x16x2_t both = {{as<uint8x16_t>(pairs.first), as<uint8x16_t>(pairs.second)}};
  vst2q_u8(to, both);
}

[[gnu::always_inline]] inline PairHalves forPairs(Shorts early, Shorts late) {
  return {{early, late}, {early, late}};
}

// Truncated quotients of four sums in Q26. They saturate exactly where quotients in Q10 would in 16
// bits.
[[gnu::always_inline]] inline int16x8_t quotientsQ26(uint16x4_t dividends, uint16x4_t divisors) {
  const float32x4_t quotients =
      vdivq_f32(vcvtq_f32_u32(vmovl_u16(dividends)), vcvtq_f32_u32(vmovl_u16(divisors)));
  return vreinterpretq_s16_s32(vcvtq_n_s32_f32(quotients, 26));
}

[[gnu::always_inline]] inline Shorts quotientsQ10(Shorts dividends, Shorts divisors) {
  const auto dividend = as<uint16x8_t>(dividends);
  const auto divisor = as<uint16x8_t>(divisors);
  return as<Shorts>(vuzp2q_s16(quotientsQ26(vget_low_u16(dividend), vget_low_u16(divisor)),
                               quotientsQ26(vget_high_u16(dividend), vget_high_u16(divisor))));
}

[[gnu::always_inline]] inline Shorts halfway(Shorts a, Shorts b) {
  return as<Shorts>(vhaddq_s16(raw(a), raw(b)));
}

[[gnu::always_inline]] inline Wide product(Shorts a, Shorts b) {
  return {as<Ints>(vmull_s16(vget_low_s16(raw(a)), vget_low_s16(raw(b)))),
          as<Ints>(vmull_high_s16(raw(a), raw(b)))};
}

[[gnu::always_inline]] inline Shorts upperHalves(const Wide& a, const Wide& b) {
  const int16x4_t low = vaddhn_s32(as<int32x4_t>(a.low), as<int32x4_t>(b.low));
  return as<Shorts>(vaddhn_high_s32(low, as<int32x4_t>(a.high), as<int32x4_t>(b.high)));
}

// The upper half of twice the product with k · 2^12 is the product with k/8.
[[gnu::always_inline]] inline Halves eighths(const std::int16_t* from, const std::int16_t* steps) {
  constexpr Shorts kEighths = {0, 1 << 12, 2 << 12, 3 << 12, 4 << 12, 5 << 12, 6 << 12, 7 << 12};
  const int16x4_t first = vld1_s16(from);
  const int16x4_t step = vld1_s16(steps);
  return {
      as<Shorts>(vaddq_s16(vqdmulhq_lane_s16(raw(kEighths), step, 0), vdupq_lane_s16(first, 0))),
      as<Shorts>(vaddq_s16(vqdmulhq_lane_s16(raw(kEighths), step, 1), vdupq_lane_s16(first, 1)))};
}

template <int kCell>
[[gnu::always_inline]] inline Wide rampOf(int32x2_t first, int32x2_t step) {
  constexpr Ints kEarly = {0, 1, 2, 3};
  constexpr Ints kLate = {4, 5, 6, 7};
  const int32x4_t start = vdupq_lane_s32(first, kCell);
  return {as<Ints>(vmlaq_lane_s32(start, as<int32x4_t>(kEarly), step, kCell)),
          as<Ints>(vmlaq_lane_s32(start, as<int32x4_t>(kLate), step, kCell))};
}

[[gnu::always_inline]] inline WideHalves ramps(const std::int32_t* from,
                                               const std::int32_t* steps) {
  const int32x2_t first = vld1_s32(from);
  const int32x2_t step = vld1_s32(steps);
  return {rampOf<0>(first, step), rampOf<1>(first, step)};
}

} // namespace
} // namespace tlux::detail

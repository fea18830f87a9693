#pragma once

#include <arm_neon.h>

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

[[gnu::always_inline]] inline bool isAny(Shorts mask) {
  return vmaxvq_u16(as<uint16x8_t>(mask)) != 0;
}

[[gnu::always_inline]] inline Halves widen(Bytes v) {
  const auto bytes = as<uint8x16_t>(v);
  return {as<Shorts>(vmovl_u8(vget_low_u8(bytes))), as<Shorts>(vmovl_high_u8(bytes))};
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

[[gnu::always_inline]] inline Halves twice(Shorts v) {
  return {as<Shorts>(vzip1q_s16(raw(v), raw(v))), as<Shorts>(vzip2q_s16(raw(v), raw(v)))};
}

[[gnu::always_inline]] inline Shorts quotientsQ10(Shorts dividends, Shorts divisors) {
  const int16x8_t dividend = raw(dividends);
  const int16x8_t divisor = raw(divisors);
  const Ints low = quotientsOf(as<Ints>(vshll_n_s16(vget_low_s16(dividend), 10)),
                               as<Ints>(vmovl_s16(vget_low_s16(divisor))));
  const Ints high = quotientsOf(as<Ints>(vshll_n_s16(vget_high_s16(dividend), 10)),
                                as<Ints>(vmovl_high_s16(divisor)));
  return as<Shorts>(vcombine_s16(vqmovn_s32(as<int32x4_t>(low)), vqmovn_s32(as<int32x4_t>(high))));
}

} // namespace
} // namespace tlux::detail

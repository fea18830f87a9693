#include "tone/map_reference.hpp"

#include <algorithm>

#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"

namespace tlux::detail {
namespace {

constexpr std::int32_t kUnity = 1024; // Q10
constexpr std::int32_t kMaxLinear = 4095;

// Row parts small enough for intermediate arrays on the stack, so that the arithmetic between the
// table look-ups runs in vector lanes.
constexpr std::int32_t kChunk = 256;

// A gain below unity is applied as its reciprocal to the inverted code, and the result inverted
// back: highlights are compressed the way shadows are lifted.
constexpr std::uint8_t inversionFor(std::int32_t gain) {
  return gain < kUnity ? 0xFF : 0;
}

// Trunc(2^20 / gain) for gains below unity; 0 for a gain of 0. The quotient of floats is exact:
// where 2^20 / gain is no integer, it is at least 1/gain away from one, and rounding moves it by
// less than 2^20 / gain · 2^-23 = 1/(8·gain).
constexpr std::int32_t appliedGain(std::int32_t gain) {
  const auto reciprocal =
      static_cast<std::int32_t>(1048576.0F / static_cast<float>(std::max(gain, 1)));
  const std::int32_t darkening = gain > 0 ? reciprocal : 0;
  return gain < kUnity ? darkening : gain;
}

// Products of reciprocals beyond 2^19 may leave 32 bits: they wrap.
[[gnu::always_inline]] inline void applyGains(const std::int32_t* __restrict gains,
                                              std::int32_t* __restrict linear, std::int32_t count) {
  for (std::int32_t i = 0; i < count; ++i) {
    linear[i] = clampTo(wrappingMul(appliedGain(gains[i]), linear[i]) >> 10, 0, kMaxLinear);
  }
}

TLUX_MULTIVERSION void mapChunk(const std::uint8_t* codes, const std::uint16_t* scores,
                                const ToneTables& tables, std::uint8_t* mapped,
                                std::int32_t count) {
  std::int32_t gains[kChunk];
  std::int32_t linear[kChunk];
  std::uint8_t inversions[kChunk];
  std::uint8_t inverted[kChunk];
  for (std::int32_t i = 0; i < count; ++i) {
    gains[i] = tables.gain[scores[i]];
  }
  for (std::int32_t i = 0; i < count; ++i) {
    inversions[i] = inversionFor(gains[i]);
    inverted[i] = codes[i] ^ inversions[i];
  }
  for (std::int32_t i = 0; i < count; ++i) {
    linear[i] = tables.degamma[inverted[i]];
  }
  applyGains(gains, linear, count);
  for (std::int32_t i = 0; i < count; ++i) {
    inverted[i] = tables.gamma[linear[i]];
  }
  for (std::int32_t i = 0; i < count; ++i) {
    mapped[i] = inverted[i] ^ inversions[i];
  }
}

} // namespace

void mapReference(Plane<const std::uint8_t> reference, const std::uint16_t* scores,
                  const ToneTables& tables, Plane<std::uint8_t> mapped) {
  for (std::int32_t y = 0; y < reference.height; ++y) {
    for (std::int32_t x = 0; x < reference.width; x += kChunk) {
      mapChunk(reference.row(y) + x, scores + x, tables, mapped.row(y) + x,
               std::min(kChunk, reference.width - x));
    }
    scores += reference.width;
  }
}

} // namespace tlux::detail

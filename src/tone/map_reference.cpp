#include "tone/map_reference.hpp"

#include <algorithm>

#include "base/by_eights.hpp"
#include "base/multiversion.hpp"

namespace tlux::detail {
namespace {

// Row parts small enough for intermediate arrays on the stack, so that the arithmetic between the
// table look-ups runs in vector lanes.
constexpr std::int32_t kChunk = 256;

[[gnu::always_inline]] inline void applyGains(const std::int32_t* __restrict gains,
                                              std::int32_t* __restrict linear, std::int32_t count) {
  for (std::int32_t i = 0; i < count; ++i) {
    linear[i] = multipliedLight(linear[i], factorFor(gains[i]));
  }
}

TLUX_MULTIVERSION void mapChunk(const std::uint8_t* codes, const std::uint16_t* scores,
                                const ToneTables& tables, std::uint8_t* mapped,
                                std::int32_t count) {
  std::int32_t gains[kChunk];
  std::int32_t linear[kChunk];
  std::uint8_t inversions[kChunk];
  std::uint8_t inverted[kChunk];
  const ToneTables table = tables; // a copy: its pointers are not reloaded after each byte stored
  forEachByEights(count,
                  [&](std::ptrdiff_t i) TLUX_INLINED_LAMBDA { gains[i] = table.gain[scores[i]]; });
  for (std::int32_t i = 0; i < count; ++i) {
    inversions[i] = inversionFor(gains[i]);
    inverted[i] = codes[i] ^ inversions[i];
  }
  forEachByEights(count, [&](std::ptrdiff_t i) TLUX_INLINED_LAMBDA {
    linear[i] = table.curves.degamma[inverted[i]];
  });
  applyGains(gains, linear, count);
  forEachByEights(count, [&](std::ptrdiff_t i)
                             TLUX_INLINED_LAMBDA { inverted[i] = table.curves.gamma[linear[i]]; });
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

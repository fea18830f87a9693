#pragma once

#include <cstdint>

#include "base/plane.hpp"
#include "gain/linear_gain.hpp"

namespace tlux::detail {

// The tables a mapping goes through.
struct ToneTables {
  TransferCurves curves;
  const std::uint16_t* gain; // 65536 gains in Q10, indexed by a score's 16-bit pattern
};

// Maps luma codes in linear light, each by the gain of its score. Scores are packed rows.
void mapReference(Plane<const std::uint8_t> reference, const std::uint16_t* scores,
                  const ToneTables& tables, Plane<std::uint8_t> mapped);

} // namespace tlux::detail

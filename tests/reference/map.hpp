#pragma once

#include <algorithm>
#include <cstdint>

#include "tlux/transfer.h"

namespace tlux::reference {

// A luma code through its gain (Q10) in linear light; below unity, the reciprocal gain of the
// inverted code.
inline std::uint8_t mapLuma(int code, int gain) {
  const bool darkens = gain < 1024;
  const int multiplier = !darkens ? gain : (gain == 0 ? 0 : 1048576 / gain);
  const std::int64_t product =
      std::int64_t{multiplier} * TLUX_Degamma_Table[darkens ? 255 - code : code];
  const std::int32_t wrapped = static_cast<std::int32_t>(static_cast<std::uint32_t>(product));
  const std::uint8_t mapped = TLUX_Gamma_Table8[std::clamp(wrapped >> 10, 0, 4095)];
  return darkens ? static_cast<std::uint8_t>(255 - mapped) : mapped;
}

} // namespace tlux::reference

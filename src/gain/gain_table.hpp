#pragma once

#include <cstdint>

namespace tlux::detail {

inline constexpr int kGainTableEntries = 65536;

// Q10 gains indexed by the 16-bit pattern of a score; every entry is defined.
void fillGainTable(std::uint16_t* table, std::uint32_t strength);

// What an engine's gain table takes out of a pool.
std::int64_t gainTablePoolBytes();

} // namespace tlux::detail

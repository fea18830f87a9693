#pragma once

#include <cstddef>
#include <cstdint>

namespace tlux::detail {

// Maps a row of samples through a table of 256 entries, using the low 8 bits of each. The row may
// be changed in place; the table must not overlap it.
template <class Entry>
void lookUpRow(const std::uint8_t* in, std::size_t count, const Entry* table, std::uint8_t* out) {
  // Four samples are read before any is written, so that no read has to wait for a store.
  std::size_t x = 0;
  for (; x + 4 <= count; x += 4) {
    const auto a = static_cast<std::uint8_t>(table[in[x]]);
    const auto b = static_cast<std::uint8_t>(table[in[x + 1]]);
    const auto c = static_cast<std::uint8_t>(table[in[x + 2]]);
    const auto d = static_cast<std::uint8_t>(table[in[x + 3]]);
    out[x] = a;
    out[x + 1] = b;
    out[x + 2] = c;
    out[x + 3] = d;
  }
  for (; x < count; ++x) {
    out[x] = static_cast<std::uint8_t>(table[in[x]]);
  }
}

} // namespace tlux::detail

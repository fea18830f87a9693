#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "reduce/sub_grid.hpp"

namespace tlux::detail {

// The outputs of one step along a row, and the samples that each uses, counted from the start of
// the step.
struct RowPattern {
  int channels; // 2 for interleaved pairs
  int step;     // samples
  int outputs;
  std::array<Taps, 3> taps;

  constexpr const Taps& of(int output) const { return taps[static_cast<std::size_t>(output)]; }
  constexpr int stepBytes() const { return step * channels; }
  // Bytes from the start of a step to the end of its last sample.
  constexpr int reach() const {
    int bytes = 0;
    for (int output = 0; output < outputs; ++output) {
      const int end = (of(output).last() + 1) * channels;
      bytes = end > bytes ? end : bytes;
    }
    return bytes;
  }
};

constexpr RowPattern fullColumns(const SubGrid& grid) {
  RowPattern pattern{1, grid.block, grid.outputs, {}};
  for (int output = 0; output < grid.outputs; ++output) {
    Taps& taps = pattern.taps[static_cast<std::size_t>(output)];
    taps.count = grid.columns.count;
    for (int tap = 0; tap < taps.count; ++tap) {
      taps.at[static_cast<std::size_t>(tap)] = static_cast<int>(grid.column(output, tap));
    }
  }
  return pattern;
}

// Chroma positions repeat with every block of even width and every second block of odd width.
constexpr RowPattern halfColumns(const SubGrid& grid, int channels, int odd) {
  const int blocks = grid.block % 2 == 0 ? 1 : 2;
  RowPattern pattern{channels, blocks * grid.block / 2, blocks * grid.outputs, {}};
  for (int output = 0; output < pattern.outputs; ++output) {
    Taps& taps = pattern.taps[static_cast<std::size_t>(output)];
    taps.count = grid.columns.count;
    for (int tap = 0; tap < taps.count; ++tap) {
      taps.at[static_cast<std::size_t>(tap)] = static_cast<int>(odd + grid.column(output, tap)) / 2;
    }
  }
  return pattern;
}

// Where the samples of a block lie in a word that is as wide as the block.
template <RowPattern kPattern>
struct WordLanes {
  static constexpr int kBytes = kPattern.stepBytes();
  static constexpr Taps kTaps = kPattern.taps[0];
  // Blocks of 1, 2, 4 or 8 bytes that contain only their own samples.
  static constexpr bool kFit = kPattern.outputs == 1 && kPattern.reach() <= kBytes &&
                               (kBytes == 1 || kBytes == 2 || kBytes == 4 || kBytes == 8);
  using Word = std::conditional_t<
      kBytes == 8, std::uint64_t,
      std::conditional_t<kBytes == 4, std::uint32_t,
                         std::conditional_t<kBytes == 2, std::uint16_t, std::uint8_t>>>;
  using Sum = std::conditional_t<kBytes == 1, std::uint16_t, Word>;

  static constexpr int byteOf(int tap) {
    return kTaps.at[static_cast<std::size_t>(tap)] * kPattern.channels;
  }
  // Samples in adjacent bytes leave no room for sums, so even and odd bytes are separated.
  static constexpr bool areAdjacent() {
    for (int tap = 1; tap < kTaps.count; ++tap) {
      if (byteOf(tap) - byteOf(tap - 1) == 1) return true;
    }
    return false;
  }
  static constexpr Sum mask(bool even, bool odd) {
    Sum bits = 0;
    for (int tap = 0; tap < kTaps.count; ++tap) {
      const bool isOdd = byteOf(tap) % 2 != 0;
      if (isOdd ? odd : even) bits = static_cast<Sum>(bits | (Sum{0xFF} << (8 * byteOf(tap))));
    }
    return bits;
  }
  static constexpr Sum kAll = mask(true, true);
  static constexpr Sum kEven = mask(true, false);
  static constexpr Sum kOdd = static_cast<Sum>(mask(false, true) >> 8); // once moved down

  // Bit i: a sum of samples begins at byte i of the added words.
  static constexpr unsigned foldAt() {
    unsigned bytes = 0;
    for (int tap = 0; tap < kTaps.count; ++tap) {
      bytes |= 1U << (areAdjacent() ? byteOf(tap) & ~1 : byteOf(tap));
    }
    return bytes;
  }
};

} // namespace tlux::detail

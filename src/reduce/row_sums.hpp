#pragma once

#include <bit>
#include <cstring>
#include <utility>

#include "base/multiversion.hpp"
#include "reduce/row_kernels.hpp"
#include "reduce/row_pattern.hpp"

// The sums of the samples of each output in a stretch of rows: at most twelve samples, so every sum
// fits 16 bits.
namespace tlux::detail {

static_assert(std::endian::native == std::endian::little, "words hold the first sample lowest");

template <class Word>
Word loadWord(const std::uint8_t* bytes) {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// Calls f with the constants 0 to kCount − 1.
template <int kCount, class F>
TLUX_INLINED constexpr void unroll(F&& f) {
  [&]<int... kIndex>(std::integer_sequence<int, kIndex...>) {
    (f(std::integral_constant<int, kIndex>{}), ...);
  }
  (std::make_integer_sequence<int, kCount>{});
}

template <RowPattern kPattern>
TLUX_INLINED std::uint16_t fold(typename WordLanes<kPattern>::Sum lanes) {
  using Sum = typename WordLanes<kPattern>::Sum;
  if constexpr (sizeof(Sum) == 4 && WordLanes<kPattern>::foldAt() == 0b101) {
    // Two lanes of 16 bits, added in the upper one: compilers would otherwise narrow both before
    // adding.
    return static_cast<std::uint16_t>((lanes + (lanes << 16)) >> 16);
  }
  Sum total = 0;
  unroll<8>([&](auto byte) {
    if constexpr ((WordLanes<kPattern>::foldAt() >> byte & 1U) != 0) {
      total = static_cast<Sum>(total + (lanes >> (8 * byte)));
    }
  });
  return static_cast<std::uint16_t>(total);
}

// A block is loaded as one word, the bytes of other samples are masked off, the words of the rows
// kBegin to kEnd − 1 are added with the samples in lanes wide enough for the sum, and the lanes are
// folded: an element-wise loop over arrays of words, which compilers vectorise. Calls store(i, sum,
// sum of the second component).
template <RowPattern kPattern, int kBegin, int kEnd, class Store>
TLUX_INLINED void sumWords(const SourceRows& sourceRows, std::ptrdiff_t steps, Store&& store) {
  using L = WordLanes<kPattern>;
  using Sum = typename L::Sum;
  const SourceRows rows = sourceRows;
  for (std::ptrdiff_t i = 0; i < steps; ++i) {
    Sum even = 0;
    Sum odd = 0;
    unroll<kEnd - kBegin>([&](auto row) {
      const Sum word = loadWord<typename L::Word>(rows[kBegin + row] + i * L::kBytes);
      if constexpr (kPattern.channels == 2) {
        even = static_cast<Sum>(even + (word & L::kAll));
        odd = static_cast<Sum>(odd + (word >> 8 & L::kAll));
      } else if constexpr (L::areAdjacent()) {
        even = static_cast<Sum>(even + (word & L::kEven) + (word >> 8 & L::kOdd));
      } else {
        even = static_cast<Sum>(even + (word & L::kAll));
      }
    });
    store(i, fold<kPattern>(even), fold<kPattern>(odd));
  }
}

// For blocks of any width: first the sums of all columns over the rows kBegin to kEnd − 1, then the
// sums for an output starting at every column, both element-wise; the outputs pick theirs. `second`
// receives those of the second component.
template <RowPattern kPattern, int kBegin, int kEnd>
TLUX_INLINED void sumWindows(const SourceRows& sourceRows, std::ptrdiff_t steps,
                             std::uint16_t* first, std::uint16_t* second) {
  constexpr std::ptrdiff_t kStep = kPattern.stepBytes();
  const SourceRows rows = sourceRows;
  std::uint16_t columns[kStretch + kMaxReach];
  std::uint16_t windows[kStretch + kMaxReach];
  const std::ptrdiff_t bytes = (steps - 1) * kStep + kPattern.reach();
  for (std::ptrdiff_t x = 0; x < bytes; ++x) {
    std::uint16_t sum = 0;
    unroll<kEnd - kBegin>(
        [&](auto row) { sum = static_cast<std::uint16_t>(sum + rows[kBegin + row][x]); });
    columns[x] = sum;
  }
  unroll<kPattern.outputs>([&](auto output) {
    constexpr Taps kTaps = kPattern.of(output);
    constexpr std::ptrdiff_t kFirst = kTaps.at[0] * kPattern.channels;
    if constexpr (output == 0 || !kTaps.hasSameShapeAs(kPattern.of(output - 1))) {
      const std::ptrdiff_t count = bytes - (kTaps.last() * kPattern.channels - kFirst);
      for (std::ptrdiff_t x = 0; x < count; ++x) {
        std::uint16_t sum = 0;
        unroll<kTaps.count>([&](auto tap) {
          constexpr std::ptrdiff_t kOffset = kTaps.at[std::size_t{tap}] * kPattern.channels;
          sum = static_cast<std::uint16_t>(sum + columns[x + kOffset - kFirst]);
        });
        windows[x] = sum;
      }
    }
    for (std::ptrdiff_t i = 0; i < steps; ++i) {
      const std::uint16_t* window = windows + i * kStep + kFirst;
      first[i * kPattern.outputs + output] = window[0];
      if constexpr (kPattern.channels == 2) second[i * kPattern.outputs + output] = window[1];
    }
  });
}

// The sums of every output of a stretch.
template <RowPattern kPattern, int kBegin, int kEnd>
struct StretchSums {
  std::uint16_t first[kStretch];
  std::uint16_t second[kPattern.channels == 2 ? kStretch : 1];

  TLUX_INLINED StretchSums(const SourceRows& rows, std::ptrdiff_t steps) {
    if constexpr (WordLanes<kPattern>::kFit) {
      sumWords<kPattern, kBegin, kEnd>(
          rows, steps, [this](std::ptrdiff_t i, std::uint16_t one, std::uint16_t two) {
            first[i] = one;
            if constexpr (kPattern.channels == 2) second[i] = two;
          });
    } else {
      sumWindows<kPattern, kBegin, kEnd>(rows, steps, first, second);
    }
  }
};

} // namespace tlux::detail

#include "resample/row_kernels.hpp"

#include <bit>
#include <cstring>
#include <type_traits>
#include <utility>

// The samples that one output takes from a row lie within a few bytes: they are loaded as one word,
// the unused bytes are masked off, the words of the rows are added with the samples in lanes wide
// enough for the sum, and the lanes are folded. Where blocks are as wide as the word (2, 4, 8)
// these are element-wise loops over arrays of words, which compilers vectorise; elsewhere it still
// replaces up to nine byte loads by three.
namespace tlux {
namespace {

static_assert(std::endian::native == std::endian::little, "words hold the first sample lowest");

// The outputs of one step and the samples that each takes, counted from the start of the step.
struct RowPattern {
  int channels; // 2 for interleaved pairs
  int step;     // samples
  int outputs;
  int rows;
  std::array<Taps, 3> taps;
};

constexpr RowPattern fullColumns(const SubGrid& grid) {
  RowPattern pattern{1, grid.block, grid.outputs, grid.rows.count, {}};
  for (int output = 0; output < grid.outputs; ++output) {
    Taps& taps = pattern.taps[static_cast<std::size_t>(output)];
    taps.count = grid.columns.count;
    for (int tap = 0; tap < taps.count; ++tap) {
      taps.at[static_cast<std::size_t>(tap)] = static_cast<int>(grid.column(output, tap));
    }
  }
  return pattern;
}

// Chroma positions repeat with every block of even width and with every second of odd width.
constexpr RowPattern halfColumns(const SubGrid& grid, int channels, int odd) {
  const int blocks = grid.block % 2 == 0 ? 1 : 2;
  RowPattern pattern{channels, blocks * grid.block / 2, blocks * grid.outputs, grid.rows.count, {}};
  for (int output = 0; output < pattern.outputs; ++output) {
    Taps& taps = pattern.taps[static_cast<std::size_t>(output)];
    taps.count = grid.columns.count;
    for (int tap = 0; tap < taps.count; ++tap) {
      taps.at[static_cast<std::size_t>(tap)] = static_cast<int>(odd + grid.column(output, tap)) / 2;
    }
  }
  return pattern;
}

// Where the samples of one output lie in a word loaded at the first of them.
template <RowPattern kPattern, int kOutput>
struct Lanes {
  static constexpr Taps kTaps = kPattern.taps[std::size_t{kOutput}];
  static constexpr int kChannels = kPattern.channels;
  static constexpr int kFirst = kTaps.at[0];
  static constexpr int kLast = kTaps.at[static_cast<std::size_t>(kTaps.count - 1)];
  static constexpr int kBytes = (kLast - kFirst + 1) * kChannels;

  static constexpr int smallestGap() {
    int gap = 8;
    for (int tap = 1; tap < kTaps.count; ++tap) {
      const auto t = static_cast<std::size_t>(tap);
      const int distance = kTaps.at[t] - kTaps.at[t - 1];
      gap = distance < gap ? distance : gap;
    }
    return gap;
  }
  static constexpr bool kRepeats = smallestGap() == 0;
  static constexpr bool kFitsWord = kBytes <= 8 && !kRepeats;
  // Neighbouring bytes leave no room for a sum: even and odd ones are taken apart.
  static constexpr bool kAdjacent = kChannels == 1 && smallestGap() == 1;

  using Word = std::conditional_t<kBytes <= 2, std::uint16_t,
                                  std::conditional_t<kBytes <= 4, std::uint32_t, std::uint64_t>>;
  static constexpr int kReach =
      kFirst * kChannels + (kFitsWord && kBytes > 1 ? static_cast<int>(sizeof(Word)) : kBytes);

  static constexpr int byteOf(int tap) {
    return (kTaps.at[static_cast<std::size_t>(tap)] - kFirst) * kChannels;
  }
  // Bytes of the taps, of all or of those at an even or an odd byte (moved down by one).
  static constexpr Word mask(bool even, bool odd) {
    Word bits = 0;
    for (int tap = 0; tap < kTaps.count; ++tap) {
      const bool isOdd = byteOf(tap) % 2 != 0;
      const int shift = 8 * byteOf(tap) - (isOdd && !even ? 8 : 0);
      if (isOdd ? odd : even) bits = static_cast<Word>(bits | (Word{0xFF} << shift));
    }
    return bits;
  }
  static constexpr Word kAll = mask(true, true);
  static constexpr Word kEven = mask(true, false);
  static constexpr Word kOdd = mask(false, true);

  // Bit i: a sum stands at byte i of the added words.
  static constexpr unsigned foldAt() {
    unsigned bytes = 0;
    for (int tap = 0; tap < kTaps.count; ++tap) {
      bytes |= 1U << (kAdjacent ? byteOf(tap) & ~1 : byteOf(tap));
    }
    return bytes;
  }
};

template <class Word>
Word load(const std::uint8_t* bytes) {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// Calls f with the constants 0 to kCount − 1.
template <int kCount, class F>
[[gnu::always_inline]] constexpr void unroll(F&& f) {
  [&]<int... kIndex>(std::integer_sequence<int, kIndex...>) {
    (f(std::integral_constant<int, kIndex>{}), ...);
  }
  (std::make_integer_sequence<int, kCount>{});
}

template <class L>
[[gnu::always_inline]] inline std::uint32_t fold(typename L::Word sums) {
  std::uint32_t total = 0;
  unroll<8>([&](auto byte) {
    if constexpr ((L::foldAt() >> byte & 1U) != 0) {
      total += static_cast<std::uint16_t>(sums >> (8 * byte));
    }
  });
  return total;
}

struct Sums {
  std::uint32_t first = 0;
  std::uint32_t second = 0;
};

// The sums of one output over the rows kBegin to kEnd − 1.
template <class L, int kBegin, int kEnd>
[[gnu::always_inline]] inline Sums sumRows(const SourceRows& rows, std::ptrdiff_t at) {
  using Word = typename L::Word;
  Sums sums;
  if constexpr (L::kFitsWord && L::kBytes > 1) {
    Word first = 0;
    Word second = 0;
    unroll<kEnd - kBegin>([&](auto i) {
      const auto word = load<Word>(rows[kBegin + i] + at + L::kFirst * L::kChannels);
      if constexpr (L::kAdjacent) {
        first = static_cast<Word>(first + (word & L::kEven) + (word >> 8 & L::kOdd));
      } else {
        first = static_cast<Word>(first + (word & L::kAll));
      }
      if constexpr (L::kChannels == 2) second = static_cast<Word>(second + (word >> 8 & L::kAll));
    });
    sums.first = fold<L>(first);
    if constexpr (L::kChannels == 2) sums.second = fold<L>(second);
  } else {
    unroll<kEnd - kBegin>([&](auto i) {
      unroll<L::kTaps.count>([&](auto tap) {
        const std::uint8_t* sample =
            rows[kBegin + i] + at + L::kTaps.at[std::size_t{tap}] * L::kChannels;
        sums.first += sample[0];
        if constexpr (L::kChannels == 2) sums.second += sample[1];
      });
    });
  }
  return sums;
}

template <RowPattern kPattern, Mean kMean, int kOutput>
[[gnu::always_inline]] inline void makeOutput(const SourceRows& rows, std::ptrdiff_t at,
                                              std::uint8_t* first, std::uint8_t* second) {
  using L = Lanes<kPattern, kOutput>;
  if constexpr (kMean == Mean::kThird) {
    const Sums a = sumRows<L, 0, 2>(rows, at);
    const Sums b = sumRows<L, 2, 3>(rows, at);
    *first = static_cast<std::uint8_t>(third(2 * (a.first >> 2) + (b.first >> 1)));
    if constexpr (L::kChannels == 2) {
      *second = static_cast<std::uint8_t>(third(2 * (a.second >> 2) + (b.second >> 1)));
    }
  } else {
    const Sums sums = sumRows<L, 0, kPattern.rows>(rows, at);
    *first = meanOf<kMean>(sums.first);
    if constexpr (L::kChannels == 2) *second = meanOf<kMean>(sums.second);
  }
}

template <RowPattern kPattern, Mean kMean>
void reduceRow(const SourceRows& sourceRows, std::uint8_t* __restrict first,
               std::uint8_t* __restrict second, std::ptrdiff_t steps) {
  const SourceRows rows = sourceRows;
  for (std::ptrdiff_t i = 0; i < steps; ++i) {
    unroll<kPattern.outputs>([&](auto output) {
      makeOutput<kPattern, kMean, output>(rows, i * kPattern.step * kPattern.channels,
                                          first + i * kPattern.outputs + output,
                                          second + i * kPattern.outputs + output);
    });
  }
}

template <int kStride>
void widenRow(const std::uint8_t* __restrict cb, const std::uint8_t* __restrict cr,
              std::uint8_t* __restrict first, std::uint8_t* __restrict second,
              std::ptrdiff_t pairs) {
  for (std::ptrdiff_t i = 0; i < pairs; ++i) {
    const std::ptrdiff_t c = i * kStride;
    first[2 * i] = cb[c];
    first[2 * i + 1] = static_cast<std::uint8_t>((cb[c] + cb[c - kStride]) >> 1);
    second[2 * i] = static_cast<std::uint8_t>((cr[c] + cr[c - kStride]) >> 1);
    second[2 * i + 1] = cr[c];
  }
}

void splitRow(const std::uint8_t* __restrict packed, std::uint8_t* __restrict luma,
              std::uint8_t* __restrict pairs, std::ptrdiff_t columns) {
  for (std::ptrdiff_t i = 0; i < columns; ++i) {
    const auto pixel = load<std::uint16_t>(packed + 2 * i);
    luma[i] = static_cast<std::uint8_t>(pixel);
    pairs[i] = static_cast<std::uint8_t>(pixel >> 8);
  }
}

template <RowPattern kPattern>
constexpr int reach() {
  int bytes = 0;
  unroll<kPattern.outputs>([&](auto output) {
    const int own = Lanes<kPattern, output>::kReach;
    bytes = own > bytes ? own : bytes;
  });
  return bytes;
}

template <RowPattern kPattern, Mean kMean>
constexpr RowKernel kernel() {
  return {reduceRow<kPattern, kMean>, kPattern.outputs, kPattern.step * kPattern.channels,
          reach<kPattern>(), kPattern.channels};
}

template <Sampling kSampling, int kFactor>
constexpr FactorKernels factorKernels() {
  if constexpr (kFactor == 1) {
    return {}; // widened instead
  } else {
    constexpr SubGrid kLuma = reductionOf(kSampling, kFactor).luma;
    constexpr SubGrid kChroma = reductionOf(kSampling, kFactor).chroma;
    return {kernel<fullColumns(kLuma), kLuma.mean>(),
            {kernel<halfColumns(kChroma, 2, 0), kChroma.mean>(),
             kernel<halfColumns(kChroma, 2, 1), kChroma.mean>()},
            {kernel<halfColumns(kChroma, 1, 0), kChroma.mean>(),
             kernel<halfColumns(kChroma, 1, 1), kChroma.mean>()}};
  }
}

template <Sampling kSampling, int... kFactor>
constexpr std::array<FactorKernels, sizeof...(kFactor)> allFactors(
    std::integer_sequence<int, kFactor...>) {
  return {factorKernels<kSampling, kFactor>()...};
}

constexpr auto kFactors = std::make_integer_sequence<int, kMaxFactor + 1>{};
constexpr RowKernels kRowKernels{
    {allFactors<Sampling::k420>(kFactors), allFactors<Sampling::k422>(kFactors),
     allFactors<Sampling::kPacked422>(kFactors)},
    widenRow<2>,
    widenRow<1>,
    splitRow};

} // namespace

const RowKernels& rowKernels() {
  return kRowKernels;
}

} // namespace tlux

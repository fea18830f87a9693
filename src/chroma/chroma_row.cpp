#include "chroma/chroma_row.hpp"

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"

namespace tlux {
namespace {

constexpr int kNeutral = 128;
constexpr std::ptrdiff_t kBlockPairs = 512;
constexpr std::int32_t kUnity = 1024; // Q10

// Luma of a block's pairs before and after. Black, whose ratio is unity, counts as 1 to 1.
struct PairSums {
  std::uint16_t before[kBlockPairs];
  std::uint16_t after[kBlockPairs];
};

// Sum of the two luma samples of pair k, whichever byte order the processor has.
inline std::uint16_t pairSum(const std::uint8_t* luma, std::ptrdiff_t k) {
  std::uint16_t pair = 0;
  std::memcpy(&pair, luma + 2 * k, sizeof pair);
  return static_cast<std::uint16_t>((pair & 0xFF) + (pair >> 8));
}

[[gnu::always_inline]] inline void sumPairs(const std::uint8_t* __restrict oldLuma,
                                            const std::uint8_t* __restrict newLuma,
                                            std::ptrdiff_t pairs, std::uint16_t black,
                                            PairSums& sums) {
  const auto aboveBlack = [black](std::uint16_t sum) {
    return static_cast<std::uint16_t>(std::max(sum, black) - black);
  };
  for (std::ptrdiff_t k = 0; k < pairs; ++k) {
    const std::uint16_t before = aboveBlack(pairSum(oldLuma, k));
    const std::uint16_t after = aboveBlack(pairSum(newLuma, k));
    sums.before[k] = before == 0 ? 1 : before;
    sums.after[k] = before == 0 ? 1 : after;
  }
}

// after · 1024 / before, truncated.
//
// The float quotient truncates to the exact one: dividend a <= 510 · 1024 and divisor s are exact,
// the quotient's rounding error is at most a/s · 2^-24 < 1/s, and a/s is at least 1/s below the
// next integer unless it is one.
struct FullRatio {
  std::uint16_t black() const { return 0; } // of a pair

  std::int32_t operator()(const PairSums& sums, std::ptrdiff_t k) const {
    const float dividend = static_cast<float>(sums.after[k]) * static_cast<float>(kUnity);
    return static_cast<std::int32_t>(dividend / static_cast<float>(sums.before[k]));
  }
};

// 1024 + share · (ratio − 1024), the change rounded down.
class PartRatio {
 public:
  explicit PartRatio(const ChromaRule& rule)
      : black_(static_cast<std::uint16_t>(2 * rule.black)),
        shareQ15_(((1 << 15) * rule.percent + 50) / 100) {}

  std::uint16_t black() const { return black_; }

  std::int32_t operator()(const PairSums& sums, std::ptrdiff_t k) const {
    const std::int64_t change = FullRatio()(sums, k) - kUnity;
    return kUnity + static_cast<std::int32_t>((change * shareQ15_) >> 15);
  }

 private:
  std::uint16_t black_;
  std::int32_t shareQ15_;
};

// The upper half of a product.
inline std::int16_t upperHalf(std::int16_t a, std::int16_t b) {
  return static_cast<std::int16_t>((a * b) >> 16);
}

// One sample at signed distance d from neutral moves by e = (ratio − 1) · d, inside the zone by the
// part |d| / zone of it, and is clamped to 0 … 255. Where the result is negative it is clamped to
// black, so that the shift may stand for a truncating division.
//
// In 16-bit lanes, for ratios below kShortRatio: |d| <= 128 keeps |e| below 2^15 / zone. Shifts
// are upper halves of products, which no compiler widens to 32 bits.
template <int kZone>
constexpr std::int32_t kShortRatio = kUnity * 256 / kZone;

template <int kZone>
inline std::uint8_t scaleSample(std::uint8_t chroma, std::int16_t ratio) {
  const auto d = static_cast<std::int16_t>(chroma - kNeutral);
  const std::int16_t e = upperHalf(static_cast<std::int16_t>(ratio - kUnity), 64 * d);
  const std::int16_t weight = std::min<std::int16_t>(std::max<std::int16_t>(d, -d), kZone);
  const std::int16_t change = upperHalf((1 << 14) / kZone * weight, 4 * e);
  const auto moved = static_cast<std::int16_t>(chroma + change);
  return static_cast<std::uint8_t>(std::clamp<std::int16_t>(moved, 0, 255));
}

// The same for any ratio.
template <int kZone>
inline std::uint8_t scaleSample(std::uint8_t chroma, std::int32_t ratio) {
  const std::int32_t d = chroma - kNeutral;
  const std::int32_t e = ((ratio - kUnity) * d) >> 10;
  const std::int32_t weight = std::min(d < 0 ? -d : d, kZone);
  return clampToByte(chroma + ((weight * e) >> std::countr_zero(unsigned{kZone})));
}

// Ratios of a block, each twice, once for either chroma sample of its pair. False when they do not
// all fit.
template <int kZone, class Ratio>
[[gnu::always_inline]] inline bool computeShortRatios(const PairSums& sums, std::ptrdiff_t pairs,
                                                      Ratio ratioOf,
                                                      std::uint32_t* __restrict ratios) {
  std::uint32_t bits = 0;
  for (std::ptrdiff_t k = 0; k < pairs; ++k) {
    const auto ratio = static_cast<std::uint32_t>(ratioOf(sums, k));
    bits |= ratio;
    ratios[k] = ratio | ratio << 16;
  }
  return bits < kShortRatio<kZone>;
}

template <int kZone, class Ratio = FullRatio>
[[gnu::always_inline]] inline void scaleRow(const std::uint8_t* oldLuma,
                                            const std::uint8_t* newLuma,
                                            const std::uint8_t* chromaIn, std::uint8_t* chromaOut,
                                            std::ptrdiff_t pairs, Ratio ratioOf = {}) {
  PairSums sums; // NOLINT(cppcoreguidelines-pro-type-member-init): filled block by block
  std::uint32_t ratios[kBlockPairs];
  std::uint8_t scaled[2 * kBlockPairs];
  for (std::ptrdiff_t first = 0; first < pairs; first += kBlockPairs) {
    const std::ptrdiff_t count = std::min(pairs - first, kBlockPairs);
    const std::uint8_t* chroma = chromaIn + 2 * first;
    sumPairs(oldLuma + 2 * first, newLuma + 2 * first, count, ratioOf.black(), sums);
    if (computeShortRatios<kZone>(sums, count, ratioOf, ratios)) {
      for (std::ptrdiff_t i = 0; i < 2 * count; ++i) {
        std::int16_t ratio = 0;
        std::memcpy(&ratio, reinterpret_cast<const std::byte*>(ratios) + 2 * i, sizeof ratio);
        scaled[i] = scaleSample<kZone>(chroma[i], ratio);
      }
    } else {
      for (std::ptrdiff_t i = 0; i < 2 * count; ++i) {
        scaled[i] = scaleSample<kZone>(chroma[i], ratioOf(sums, i / 2));
      }
    }
    std::memcpy(chromaOut + 2 * first, scaled, static_cast<std::size_t>(2 * count));
  }
}

TLUX_MULTIVERSION void scaleChromaRowNarrowly(const std::uint8_t* oldLuma,
                                              const std::uint8_t* newLuma,
                                              const std::uint8_t* chromaIn, std::uint8_t* chromaOut,
                                              std::ptrdiff_t pairs) {
  scaleRow<kNeutralZone>(oldLuma, newLuma, chromaIn, chromaOut, pairs);
}

TLUX_MULTIVERSION void scaleChromaRowPartly(PartRatio ratioOf, const std::uint8_t* oldLuma,
                                            const std::uint8_t* newLuma,
                                            const std::uint8_t* chromaIn, std::uint8_t* chromaOut,
                                            std::ptrdiff_t pairs) {
  scaleRow<kNeutralZone>(oldLuma, newLuma, chromaIn, chromaOut, pairs, ratioOf);
}

TLUX_MULTIVERSION void scaleChromaRowWidely(const std::uint8_t* oldLuma,
                                            const std::uint8_t* newLuma,
                                            const std::uint8_t* chromaIn, std::uint8_t* chromaOut,
                                            std::ptrdiff_t pairs) {
  scaleRow<kWideNeutralZone>(oldLuma, newLuma, chromaIn, chromaOut, pairs);
}

} // namespace

template <>
void scaleChromaRow<kNeutralZone>(const std::uint8_t* oldLuma, const std::uint8_t* newLuma,
                                  const std::uint8_t* chromaIn, std::uint8_t* chromaOut,
                                  std::ptrdiff_t pairs) {
  scaleChromaRowNarrowly(oldLuma, newLuma, chromaIn, chromaOut, pairs);
}

template <>
void scaleChromaRow<kWideNeutralZone>(const std::uint8_t* oldLuma, const std::uint8_t* newLuma,
                                      const std::uint8_t* chromaIn, std::uint8_t* chromaOut,
                                      std::ptrdiff_t pairs) {
  scaleChromaRowWidely(oldLuma, newLuma, chromaIn, chromaOut, pairs);
}

void scaleChromaRow(const ChromaRule& rule, const std::uint8_t* oldLuma,
                    const std::uint8_t* newLuma, const std::uint8_t* chromaIn,
                    std::uint8_t* chromaOut, std::ptrdiff_t pairs) {
  if (rule.black == 0 && rule.percent == 100) {
    scaleChromaRowNarrowly(oldLuma, newLuma, chromaIn, chromaOut, pairs);
  } else {
    scaleChromaRowPartly(PartRatio(rule), oldLuma, newLuma, chromaIn, chromaOut, pairs);
  }
}

} // namespace tlux

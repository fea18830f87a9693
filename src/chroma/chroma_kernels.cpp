#include "base/lanes.hpp"
#include "chroma/chroma_row.hpp"

// Compiled once for each instruction set.
namespace tlux::detail {
namespace {

constexpr std::int16_t kNeutral = 128;
constexpr std::int32_t kUnity = 1024;       // Q10
constexpr std::ptrdiff_t kPairs = kColumns; // that are made at a time, two vectors of bytes

constexpr int log2Of(int powerOfTwo) {
  return powerOfTwo == 1 ? 0 : 1 + log2Of(powerOfTwo / 2);
}

// One sample at signed distance d from neutral moves by e = (ratio − 1) · d, inside the zone by |d|
// / zone of it, and is clamped to 0 … 255. A negative result becomes black, so a shift can replace
// the truncating division.
template <int kZone>
std::uint8_t scaleSample(std::uint8_t chroma, std::int32_t ratio) {
  const std::int32_t d = chroma - kNeutral;
  const std::int32_t e = ((ratio - kUnity) * d) >> 10;
  const std::int32_t distance = d < 0 ? -d : d;
  const std::int32_t weight = distance < kZone ? distance : kZone;
  const std::int32_t moved = chroma + ((weight * e) >> log2Of(kZone));
  return static_cast<std::uint8_t>(moved < 0 ? 0 : (moved > 255 ? 255 : moved));
}

// The same for a vector of samples, for ratios below kShortRatio: |d| <= 128 then keeps zone ·
// (chroma + e) within 16 bits.
template <int kZone>
constexpr std::int32_t kShortRatio = kUnity*(256 / kZone - 1);

template <int kZone>
[[gnu::always_inline]] inline Bytes scaleBytes(Bytes chroma, const Halves& change) {
  const Halves e = multiplyCentredQ10(change, chroma);
  const Halves distance = distancesFromCentre(chroma);
  const Halves weighted = {minimum(distance.low, all(kZone)) * e.low,
                           minimum(distance.high, all(kZone)) * e.high};
  return addShifted<log2Of(kZone)>(chroma, weighted);
}

// The luma of a pair, and how the ratio's change is taken: as it is,
struct WholeRule {
  Shorts lit(Shorts sums) const { return sums; }
  Shorts part(Shorts change) const { return change; }
  std::int32_t lit(std::int32_t sum) const { return sum; }
  std::int32_t part(std::int32_t change) const { return change; }
};

// counted from black,
struct RuleFromBlack {
  std::int16_t black; // of a pair

  Shorts lit(Shorts sums) const { return maximum(sums, all(black)) - black; }
  Shorts part(Shorts change) const { return change; }
  std::int32_t lit(std::int32_t sum) const { return sum < black ? 0 : sum - black; }
  std::int32_t part(std::int32_t change) const { return change; }
};

// and only in part, rounded down.
struct PartRule : RuleFromBlack {
  std::int16_t share; // Q15, below 1

  Shorts part(Shorts change) const {
    const Shorts factor = all(share);
    return (multiplyHigh(change, factor) << 1) + shiftRightUnsigned(change * factor, 15);
  }
  std::int32_t part(std::int32_t change) const {
    return static_cast<std::int32_t>((std::int64_t{change} * share) >> 15);
  }
};

// Any ratio, sample by sample. The ratio of black is unity, so black counts as 1 to 1.
template <int kZone, class Rule>
[[gnu::cold, gnu::noinline]] void scalePairs(Rule rule, const std::uint8_t* oldLuma,
                                             const std::uint8_t* newLuma,
                                             const std::uint8_t* chromaIn,
                                             std::uint8_t* chromaOut) {
  for (std::ptrdiff_t k = 0; k < kPairs; ++k) {
    const std::int32_t before = rule.lit(oldLuma[2 * k] + oldLuma[2 * k + 1]);
    const std::int32_t after = rule.lit(newLuma[2 * k] + newLuma[2 * k + 1]);
    const std::int32_t change = before == 0 ? 0 : after * kUnity / before - kUnity;
    const std::int32_t ratio = kUnity + rule.part(change);
    chromaOut[2 * k] = scaleSample<kZone>(chromaIn[2 * k], ratio);
    chromaOut[2 * k + 1] = scaleSample<kZone>(chromaIn[2 * k + 1], ratio);
  }
}

template <class Rule>
[[gnu::always_inline]] inline Shorts changeOf(Rule rule, const std::uint8_t* oldLuma,
                                              const std::uint8_t* newLuma) {
  const Shorts before = rule.lit(pairSums(loadBytes(oldLuma)));
  const Shorts after = rule.lit(pairSums(loadBytes(newLuma)));
  const Shorts isLit = before > 0;
  const Shorts ratio = quotientsQ10(after, maximum(before, all(1)));
  return (ratio - static_cast<std::int16_t>(kUnity)) & isLit;
}

// Pairs of two vectors of columns. False, and nothing is written, when a ratio is too large.
template <int kZone, class Rule>
[[gnu::always_inline]] inline bool scaleVectors(Rule rule, const std::uint8_t* oldLuma,
                                                const std::uint8_t* newLuma,
                                                const std::uint8_t* chromaIn,
                                                std::uint8_t* chromaOut) {
  const Shorts early = changeOf(rule, oldLuma, newLuma);
  const Shorts late = changeOf(rule, oldLuma + kColumns, newLuma + kColumns);
  constexpr auto kTooLarge = static_cast<std::int16_t>(kShortRatio<kZone> - kUnity);
  if (isAnyFrom(kTooLarge, maximum(early, late))) return false;
  const BytePairs chroma = loadPairs(chromaIn);
  const PairHalves changes = forPairs(rule.part(early), rule.part(late));
  storePairs(chromaOut, {scaleBytes<kZone>(chroma.first, changes.first),
                         scaleBytes<kZone>(chroma.second, changes.second)});
  return true;
}

template <int kZone, class Rule>
[[gnu::always_inline]] inline void scaleRow(Rule rule, const std::uint8_t* oldLuma,
                                            const std::uint8_t* newLuma,
                                            const std::uint8_t* chromaIn, std::uint8_t* chromaOut,
                                            std::ptrdiff_t pairs) {
  constexpr std::ptrdiff_t kStep = 2 * kPairs;
  const std::ptrdiff_t columns = 2 * pairs;
  std::ptrdiff_t x = 0;
  while (true) { // a loop without calls inside, which would keep constants out of registers
    while (x + kStep <= columns &&
           scaleVectors<kZone>(rule, oldLuma + x, newLuma + x, chromaIn + x, chromaOut + x)) {
      x += kStep;
    }
    if (x + kStep > columns) break;
    scalePairs<kZone>(rule, oldLuma + x, newLuma + x, chromaIn + x, chromaOut + x);
    x += kStep;
  }
  if (x < columns) {
    const auto rest = static_cast<std::size_t>(columns - x);
    std::uint8_t before[kStep] = {};
    std::uint8_t after[kStep] = {};
    std::uint8_t chroma[kStep] = {};
    std::memcpy(before, oldLuma + x, rest);
    std::memcpy(after, newLuma + x, rest);
    std::memcpy(chroma, chromaIn + x, rest);
    if (!scaleVectors<kZone>(rule, before, after, chroma, chroma)) {
      scalePairs<kZone>(rule, before, after, chroma, chroma);
    }
    std::memcpy(chromaOut + x, chroma, rest);
  }
}

template <int kZone>
void scaleWhole(const std::uint8_t* oldLuma, const std::uint8_t* newLuma,
                const std::uint8_t* chromaIn, std::uint8_t* chromaOut, std::ptrdiff_t pairs) {
  scaleRow<kZone>(WholeRule{}, oldLuma, newLuma, chromaIn, chromaOut, pairs);
}

void scaleByRule(const ChromaRule& rule, const std::uint8_t* oldLuma, const std::uint8_t* newLuma,
                 const std::uint8_t* chromaIn, std::uint8_t* chromaOut, std::ptrdiff_t pairs) {
  const RuleFromBlack fromBlack = {static_cast<std::int16_t>(2 * rule.black)};
  if (rule.percent < 100) {
    const auto share = static_cast<std::int16_t>(((1 << 15) * rule.percent + 50) / 100);
    scaleRow<kNeutralZone>(PartRule{fromBlack, share}, oldLuma, newLuma, chromaIn, chromaOut,
                           pairs);
  } else if (rule.black != 0) {
    scaleRow<kNeutralZone>(fromBlack, oldLuma, newLuma, chromaIn, chromaOut, pairs);
  } else {
    scaleWhole<kNeutralZone>(oldLuma, newLuma, chromaIn, chromaOut, pairs);
  }
}

} // namespace

template <>
const ChromaKernels& kernelsFor<ChromaKernels, SimdLevel::TLUX_LEVEL>() {
  static constexpr ChromaKernels kTable = {scaleWhole<kNeutralZone>, scaleWhole<kWideNeutralZone>,
                                           scaleByRule};
  return kTable;
}

} // namespace tlux::detail

#include "guided_upsampling/coefficient_lines.hpp"

#include <algorithm>
#include <cstring>

#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"

namespace tlux {
namespace {

// Results go through a short buffer, so that compilers need not fear that the output lies over the
// guide, which it may.
constexpr std::ptrdiff_t kBlock = 256;

template <int kPhase>
[[gnu::always_inline]] inline void applyPhase(const LongLines& lines, const std::uint8_t* guide,
                                              std::uint8_t* out, std::ptrdiff_t width) {
  const std::int32_t* __restrict upperA = lines.upperA;
  const std::int32_t* __restrict lowerA = lines.lowerA;
  const std::int32_t* __restrict upperB = lines.upperB;
  const std::int32_t* __restrict lowerB = lines.lowerB;
  std::uint8_t block[kBlock];
  for (std::ptrdiff_t first = 0; first < width; first += kBlock) {
    const std::ptrdiff_t count = std::min(width - first, kBlock);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      const std::ptrdiff_t x = first + i;
      const std::int32_t a = mixEighths<kPhase>(upperA[x], lowerA[x]);
      const std::int32_t b = mixEighths<kPhase>(upperB[x], lowerB[x]);
      block[i] = clampToByte(wrappingAdd(b, wrappingMul(guide[x], a)) >> 10);
    }
    std::memcpy(out + first, block, static_cast<std::size_t>(count));
  }
}

template <int kPhase>
[[gnu::always_inline]] inline void applyFromPhase(int phase, const LongLines& lines,
                                                  RowPair<const std::uint8_t> guide,
                                                  RowPair<std::uint8_t> out, std::ptrdiff_t width) {
  if (phase == kPhase) {
    applyPhase<kPhase>(lines, guide.upper, out.upper, width);
    applyPhase<kPhase + 1>(lines, guide.lower, out.lower, width);
  } else if constexpr (kPhase + 2 < kUpsampling) {
    applyFromPhase<kPhase + 2>(phase, lines, guide, out, width);
  }
}

// The upper half of a product: value · scale / 2^16, rounded down.
inline std::int16_t scaled(std::int16_t value, std::int16_t scale) {
  return static_cast<std::int16_t>((value * scale) >> 16);
}

// What b grows by from one sample to another, both split: see ShortStep.
struct SplitStep {
  std::int16_t high;
  std::int16_t low;
};

inline SplitStep stepBetween(std::int16_t fromHigh, std::int16_t fromLow, std::int16_t toHigh,
                             std::int16_t toLow) {
  // In multiples of 2^10, with what the low parts carry or borrow, and the rest.
  const auto rest = static_cast<std::int16_t>(toLow - fromLow);
  const auto whole =
      static_cast<std::int16_t>(static_cast<std::int16_t>(toHigh - fromHigh) + (rest >> 10));
  return {static_cast<std::int16_t>(whole >> 3),
          static_cast<std::int16_t>((whole & 7) * 1024 + (rest & 1023))};
}

// Whether a phase counts from the sample or line after it, as the later ones do.
constexpr bool isNearerTheNext(int phase) {
  return phase >= kUpsampling / 2;
}

// Eighths of the way from the nearer one, negative from the next: −4 … 3.
constexpr std::int16_t eighthsFor(int phase) {
  return static_cast<std::int16_t>(isNearerTheNext(phase) ? phase - kUpsampling : phase);
}

// The factor of scaled() that stands for eighths.
constexpr std::int16_t scaleFor(std::int16_t eighths) {
  return static_cast<std::int16_t>(eighths * (1 << 13));
}

// The coefficients of one pixel at the nearer line, and what they grow by to the other.
struct ShortCoefficients {
  std::int16_t a, high, low;
  std::int16_t aStep, highStep, lowStep;
};

// One row of a pair; every sum wraps in 16 bits but the clamped one, which is within ±2^15.
struct ShortRow {
  std::int16_t eighths;
  std::int16_t scale;
  // 64 for every phase there is. Of a constant GCC concludes that the scaled guide has no sign,
  // and then finds no instruction for the upper half of its product with the signed slope.
  std::int16_t guideScale;

  explicit ShortRow(int phase)
      : eighths(eighthsFor(phase)),
        scale(scaleFor(eighths)),
        guideScale(phase < kUpsampling ? std::int16_t{64} : std::int16_t{-1}) {}

  std::uint8_t operator()(const ShortCoefficients& c, std::uint8_t guide) const {
    const auto a = static_cast<std::int16_t>(c.a + scaled(c.aStep, scale));
    const auto high =
        static_cast<std::int16_t>(c.high + static_cast<std::int16_t>(c.highStep * eighths));
    const auto low = static_cast<std::int16_t>(c.low + scaled(c.lowStep, scale));
    // a · guide = whole · 2^10 + rest
    const auto scaledGuide = static_cast<std::int16_t>(guide * guideScale);
    const std::int16_t whole = scaled(a, scaledGuide);
    const auto rest = static_cast<std::int16_t>(static_cast<std::uint16_t>(a * scaledGuide) >> 6);
    const auto carry = static_cast<std::int16_t>(static_cast<std::int16_t>(rest + low) >> 10);
    auto luma = static_cast<std::int16_t>(static_cast<std::int16_t>(whole + high) + carry);
    luma = luma < 0 ? std::int16_t{0} : luma;
    luma = luma > 255 ? std::int16_t{255} : luma;
    return static_cast<std::uint8_t>(luma);
  }
};

// Asks for a piece of the pair of rows after this one, which is the next that is worked on:
// processors do not foresee a step to another page. Nothing is read, so that the rows need not be
// there.
template <class Byte>
[[gnu::always_inline]] inline void prefetchNext(RowPair<Byte> rows, std::ptrdiff_t first,
                                                std::ptrdiff_t count) {
  constexpr std::ptrdiff_t kCacheLine = 64;
  const auto upper = reinterpret_cast<std::uintptr_t>(rows.upper);
  const auto lower = reinterpret_cast<std::uintptr_t>(rows.lower);
  const std::uintptr_t next = lower + (lower - upper);
  for (std::ptrdiff_t i = first; i < first + count; i += kCacheLine) {
    const auto x = static_cast<std::uintptr_t>(i);
    __builtin_prefetch(reinterpret_cast<const void*>(next + x));
    __builtin_prefetch(reinterpret_cast<const void*>(next + (lower - upper) + x));
  }
}

// A piece of a low-resolution row, split as ShortLine is, and the sample after it.
constexpr std::ptrdiff_t kPiece = 128;

struct LowSamples {
  std::int16_t a[kPiece + 1];
  std::int16_t high[kPiece + 1];
  std::int16_t low[kPiece + 1];
};

[[gnu::always_inline]] inline void splitSamples(const std::int32_t* __restrict lowA,
                                                const std::int32_t* __restrict lowB,
                                                std::ptrdiff_t count, LowSamples& samples) {
  for (std::ptrdiff_t x = 0; x < count; ++x) {
    samples.a[x] = static_cast<std::int16_t>(lowA[x]);
    samples.high[x] = static_cast<std::int16_t>(lowB[x] >> 10);
    samples.low[x] = static_cast<std::int16_t>(lowB[x] & 1023);
  }
}

void repeatLast(LowSamples& samples, std::ptrdiff_t count) {
  samples.a[count] = samples.a[count - 1];
  samples.high[count] = samples.high[count - 1];
  samples.low[count] = samples.low[count - 1];
}

constexpr std::make_integer_sequence<int, kUpsampling> kPhases;

template <int... kPhase>
[[gnu::always_inline]] inline void interpolateA(const std::int16_t* __restrict samples,
                                                std::int16_t* __restrict out, std::ptrdiff_t count,
                                                std::integer_sequence<int, kPhase...> /*phases*/) {
  for (std::ptrdiff_t x = 0; x < count; ++x) {
    const auto step = static_cast<std::int16_t>(samples[x + 1] - samples[x]);
    ((out[kUpsampling * x + kPhase] = static_cast<std::int16_t>(
          samples[x + isNearerTheNext(kPhase)] + scaled(step, scaleFor(eighthsFor(kPhase))))),
     ...);
  }
}

template <int... kPhase>
[[gnu::always_inline]] inline void interpolateB(const LowSamples& samples,
                                                std::int16_t* __restrict high,
                                                std::int16_t* __restrict low, std::ptrdiff_t count,
                                                std::integer_sequence<int, kPhase...> /*phases*/) {
  for (std::ptrdiff_t x = 0; x < count; ++x) {
    const SplitStep step =
        stepBetween(samples.high[x], samples.low[x], samples.high[x + 1], samples.low[x + 1]);
    ((high[kUpsampling * x + kPhase] = static_cast<std::int16_t>(
          samples.high[x + isNearerTheNext(kPhase)] + step.high * eighthsFor(kPhase))),
     ...);
    ((low[kUpsampling * x + kPhase] =
          static_cast<std::int16_t>(samples.low[x + isNearerTheNext(kPhase)] +
                                    scaled(step.low, scaleFor(eighthsFor(kPhase))))),
     ...);
  }
}

} // namespace

TLUX_MULTIVERSION void upsampleShortLine(const std::int32_t* lowA, const std::int32_t* lowB,
                                         const ShortLine& line, std::ptrdiff_t lowWidth) {
  LowSamples samples; // NOLINT(cppcoreguidelines-pro-type-member-init): filled piece by piece
  for (std::ptrdiff_t first = 0; first < lowWidth; first += kPiece) {
    const std::ptrdiff_t count = std::min(lowWidth - first, kPiece);
    const bool isLast = first + count == lowWidth;
    const std::ptrdiff_t at = kUpsampling * first;
    splitSamples(lowA + first, lowB + first, isLast ? count : count + 1, samples);
    if (isLast) repeatLast(samples, count);
    interpolateA(samples.a, line.a + at, count, kPhases);
    interpolateB(samples, line.high + at, line.low + at, count, kPhases);
  }
}

TLUX_MULTIVERSION void computeSteps(const ShortLine& upper, const ShortLine& lower,
                                    const ShortStep& step, std::ptrdiff_t width) {
  const ShortLine from = upper;
  const ShortLine to = lower;
  std::int16_t* __restrict high = step.high;
  std::int16_t* __restrict low = step.low;
  for (std::ptrdiff_t x = 0; x < width; ++x) {
    const SplitStep split = stepBetween(from.high[x], from.low[x], to.high[x], to.low[x]);
    high[x] = split.high;
    low[x] = split.low;
  }
}

TLUX_MULTIVERSION void applyCoefficients(int phase, const LongLines& lines,
                                         RowPair<const std::uint8_t> guide,
                                         RowPair<std::uint8_t> out, std::ptrdiff_t width) {
  applyFromPhase<0>(phase, lines, guide, out, width);
}

TLUX_MULTIVERSION void applyCoefficients(int phase, const ShortLines& lines,
                                         RowPair<const std::uint8_t> guide,
                                         RowPair<std::uint8_t> out, std::ptrdiff_t width) {
  const ShortRow upperRow(phase);
  const ShortRow lowerRow(phase + 1);
  const ShortLine nearer = isNearerTheNext(phase) ? lines.lower : lines.upper;
  const std::int16_t* __restrict a = nearer.a;
  const std::int16_t* __restrict high = nearer.high;
  const std::int16_t* __restrict low = nearer.low;
  const std::int16_t* __restrict upperA = lines.upper.a;
  const std::int16_t* __restrict lowerA = lines.lower.a;
  const std::int16_t* __restrict highStep = lines.step.high;
  const std::int16_t* __restrict lowStep = lines.step.low;
  std::uint8_t upperBlock[kBlock];
  std::uint8_t lowerBlock[kBlock];
  for (std::ptrdiff_t first = 0; first < width; first += kBlock) {
    const std::ptrdiff_t count = std::min(width - first, kBlock);
    prefetchNext(guide, first, count);
    prefetchNext(out, first, count);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      const std::ptrdiff_t x = first + i;
      const auto aStep = static_cast<std::int16_t>(lowerA[x] - upperA[x]);
      const ShortCoefficients c = {a[x], high[x], low[x], aStep, highStep[x], lowStep[x]};
      upperBlock[i] = upperRow(c, guide.upper[x]);
      lowerBlock[i] = lowerRow(c, guide.lower[x]);
    }
    std::memcpy(out.upper + first, upperBlock, static_cast<std::size_t>(count));
    std::memcpy(out.lower + first, lowerBlock, static_cast<std::size_t>(count));
  }
}

} // namespace tlux

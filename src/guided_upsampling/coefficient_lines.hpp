#pragma once

#include <cstddef>
#include <cstdint>

#include "guided_upsampling/upsample_line.hpp"

// The last step of the guided filter: rows of luma from the two low-resolution rows of coefficients
// that they lie between, a and b taken phase/8 of the way from the upper to the lower,
//
//   out = clamp((a · guide + b) >> 10).
//
// Rows are made in pairs, which share what they read, and which chroma belongs to.
namespace tlux {

// Coefficient rows, interpolated to full width.
struct LongLines {
  const std::int32_t* upperA;
  const std::int32_t* lowerA;
  const std::int32_t* upperB;
  const std::int32_t* lowerB;
};

// The same in 16-bit lanes, for coefficients within these magnitudes, as those of pictures are.
// Slopes then differ by less than 2^15, and b = high · 2^10 + low, low being within ±2^13.
inline constexpr std::int32_t kLargestShortA = (1 << 14) - 1;
inline constexpr std::int32_t kLargestShortB = 1 << 24;

struct ShortLine {
  std::int16_t* a;
  std::int16_t* high;
  std::int16_t* low;
};

// What b grows by from the upper line to the lower is high · 2^13 + low, low being 0 … 8191: an
// eighth of it is high · 2^10 and low / 8.
struct ShortStep {
  std::int16_t* high;
  std::int16_t* low;
};

struct ShortLines {
  ShortLine upper;
  ShortLine lower;
  ShortStep step;
};

inline constexpr int kShortPlanes = 8; // of 16 bits each, that ShortLines points to

// Interpolates a row of coefficients into 8 · lowWidth; the last sample is repeated.
void upsampleShortLine(const std::int32_t* lowA, const std::int32_t* lowB, const ShortLine& line,
                       std::ptrdiff_t lowWidth);

void computeSteps(const ShortLine& upper, const ShortLine& lower, const ShortStep& step,
                  std::ptrdiff_t width);

// Two rows, one below the other.
template <class Byte>
struct RowPair {
  Byte* upper;
  Byte* lower;
};

// The rows of an even phase and of the one after it. out may be guide.
void applyCoefficients(int phase, const LongLines& lines, RowPair<const std::uint8_t> guide,
                       RowPair<std::uint8_t> out, std::ptrdiff_t width);
void applyCoefficients(int phase, const ShortLines& lines, RowPair<const std::uint8_t> guide,
                       RowPair<std::uint8_t> out, std::ptrdiff_t width);

} // namespace tlux

#include "tone/chroma_rule.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include "base/fixed_point.hpp"
#include "tlux/tone.h"

namespace tlux {
namespace {

constexpr int kNeutral = 128;
constexpr std::ptrdiff_t kBlockPairs = 128;
constexpr std::int32_t kUnity = 1024; // Q10

// Q10 ratios of a block: whole part (0 … 510) and fraction (Q15) as 16-bit numbers, each twice in a
// word, once for either chroma sample of the pair.
struct Ratios {
  std::uint32_t whole[kBlockPairs];
  std::uint32_t fraction[kBlockPairs];
};

// Sum of the two luma samples of pair k, whichever byte order the processor has.
std::int32_t pairSum(const std::uint8_t* luma, std::ptrdiff_t k) {
  std::uint16_t pair = 0;
  std::memcpy(&pair, luma + 2 * k, sizeof pair);
  return (pair & 0xFF) + (pair >> 8);
}

// The i-th 16-bit number of an array of words.
std::int16_t halfWord(const std::uint32_t* words, std::ptrdiff_t i) {
  std::int16_t half = 0;
  std::memcpy(&half, reinterpret_cast<const std::byte*>(words) + 2 * i, sizeof half);
  return half;
}

// newSum · 1024 / oldSum, truncated; unity for black.
//
// The float quotient truncates to the exact one: dividend a <= 510 · 1024 and divisor s are exact,
// the quotient's rounding error is at most a/s · 2^-24 < 1/s, and a/s is at least 1/s below the
// next integer unless it is one.
void computeRatios(const std::uint8_t* __restrict oldLuma, const std::uint8_t* __restrict newLuma,
                   std::ptrdiff_t pairs, Ratios& ratios) {
  for (std::ptrdiff_t k = 0; k < pairs; ++k) {
    const std::int32_t oldSum = pairSum(oldLuma, k);
    const std::int32_t newSum = pairSum(newLuma, k);
    const std::int32_t dividend = oldSum == 0 ? kUnity : newSum * kUnity;
    const std::int32_t divisor = oldSum == 0 ? 1 : oldSum;
    const auto ratio = static_cast<std::uint32_t>(
        static_cast<std::int32_t>(static_cast<float>(dividend) / static_cast<float>(divisor)));
    const std::uint32_t whole = ratio >> 10;
    const std::uint32_t fraction = (ratio & (kUnity - 1)) << 5;
    ratios.whole[k] = whole | whole << 16;
    ratios.fraction[k] = fraction | fraction << 16;
  }
}

// One sample at signed distance d from neutral and n = |d| moves to distance m = ratio · d, or
// inside the zone to ((zone − n) · d + n · m) / zone, and is clamped to 0 … 255.
//
// 16-bit lanes carry it, because a whole part that takes the sample out of range may be cut short.
// For n >= 8 that is 31 with the narrow zone, of which 8 · m still fits, and 255 with the wide one;
// for n < 8 nothing is cut and |m| stays below 3600. Where the sum is negative it is clamped to
// black, so that the shift may stand for a truncating division.
template <int kZone>
std::uint8_t scaleSample(std::uint8_t chroma, std::int16_t whole, std::int16_t fraction) {
  constexpr bool kNarrow = kZone == kNeutralZone;
  constexpr std::int16_t kFarWhole = kNarrow ? 31 : 255;
  // Products with the wide zone pass 16 bits.
  using Blend = std::conditional_t<kNarrow, std::int16_t, std::int32_t>;

  const auto d = static_cast<std::int16_t>(chroma - kNeutral);
  const auto twice = static_cast<std::int16_t>(2 * d);
  const auto n = static_cast<std::int16_t>(d < 0 ? -d : d);
  const auto limit = static_cast<std::int16_t>(n < 8 ? 510 : kFarWhole);
  const std::int16_t cut = whole < limit ? whole : limit;
  const auto byFraction = static_cast<std::int16_t>((fraction * twice) >> 16); // rounds down
  const auto m = static_cast<std::int16_t>(cut * d + byFraction);

  const auto weight = static_cast<Blend>(n < kZone ? n : kZone);
  const auto sum = static_cast<Blend>((kZone - weight) * d + weight * m);
  return clampToByte(kNeutral + (sum >> std::countr_zero(unsigned{kZone})));
}

// One plane on its walk from chroma row to chroma row: where row 0 starts, the distance to the
// next, and how many bytes there are in all.
template <class T>
struct Track {
  T* data;
  std::int64_t step;
  std::int64_t bytes;

  T* row(std::int64_t j) const { return data + j * step; }
  // Whole pairs between the start of row j and the end.
  std::int64_t pairsFrom(std::int64_t j) const { return (bytes - j * step) / 2; }
};

constexpr std::int64_t kNoEnd = std::numeric_limits<std::int64_t>::max();

struct Tracks {
  Track<const std::uint8_t> oldLuma;
  Track<const std::uint8_t> newLuma;
  Track<const std::uint8_t> chromaIn;
  Track<std::uint8_t> chromaOut;
};

void scaleRows(const Tracks& tracks, std::int64_t rows, std::int64_t pairs) {
  for (std::int64_t j = 0; j < rows; ++j) {
    const std::int64_t count =
        std::min({pairs, tracks.oldLuma.pairsFrom(j), tracks.newLuma.pairsFrom(j),
                  tracks.chromaIn.pairsFrom(j), tracks.chromaOut.pairsFrom(j)});
    if (count <= 0) continue;
    scaleChromaRow<kNeutralZone>(tracks.oldLuma.row(j), tracks.newLuma.row(j),
                                 tracks.chromaIn.row(j), tracks.chromaOut.row(j), count);
  }
}

std::int64_t roundedWidth(std::int32_t width) {
  return width < 1 ? 0 : (std::int64_t{width} + 3) / 4 * 4;
}

std::int64_t planeBytes(const TLUX_IMAGE& image, int plane) {
  const std::int64_t rows = plane == 0 ? image.height : image.height / 2;
  return image.pitch[plane] * rows;
}

} // namespace

template <int kZone>
void scaleChromaRow(const std::uint8_t* oldLuma, const std::uint8_t* newLuma,
                    const std::uint8_t* chromaIn, std::uint8_t* chromaOut, std::ptrdiff_t pairs) {
  Ratios ratios; // NOLINT(cppcoreguidelines-pro-type-member-init): filled block by block
  std::uint8_t scaled[2 * kBlockPairs];
  for (std::ptrdiff_t first = 0; first < pairs; first += kBlockPairs) {
    const std::ptrdiff_t count = std::min(pairs - first, kBlockPairs);
    computeRatios(oldLuma + 2 * first, newLuma + 2 * first, count, ratios);
    const std::uint8_t* chroma = chromaIn + 2 * first;
    for (std::ptrdiff_t i = 0; i < 2 * count; ++i) {
      scaled[i] =
          scaleSample<kZone>(chroma[i], halfWord(ratios.whole, i), halfWord(ratios.fraction, i));
    }
    std::memcpy(chromaOut + 2 * first, scaled, static_cast<std::size_t>(2 * count));
  }
}

template void scaleChromaRow<kNeutralZone>(const std::uint8_t*, const std::uint8_t*,
                                           const std::uint8_t*, std::uint8_t*, std::ptrdiff_t);
template void scaleChromaRow<kWideNeutralZone>(const std::uint8_t*, const std::uint8_t*,
                                               const std::uint8_t*, std::uint8_t*, std::ptrdiff_t);

void scaleChromaByLumaRatio(const TLUX_IMAGE& source, const TLUX_IMAGE& output) {
  std::int64_t width = roundedWidth(output.width);
  std::int64_t lumaStep[2] = {width + output.pitch[0], width + output.pitch[0]};
  std::int64_t chromaStep[2] = {width, width};
  const TLUX_IMAGE* const images[2] = {&source, &output};
  if (source.pitch[0] != output.pitch[0] || source.pitch[1] != output.pitch[1]) {
    for (int i = 0; i < 2; ++i) {
      const auto [luma, chroma] =
          std::pair<std::int64_t, std::int64_t>(images[i]->pitch[0], images[i]->pitch[1]);
      lumaStep[i] = 2 * luma;
      chromaStep[i] = chroma;
      width = std::min({width, luma, chroma});
    }
  }
  const Tracks tracks = {{source.plane[0], lumaStep[0], planeBytes(source, 0)},
                         {output.plane[0], lumaStep[1], planeBytes(output, 0)},
                         {source.plane[1], chromaStep[0], planeBytes(source, 1)},
                         {output.plane[1], chromaStep[1], planeBytes(output, 1)}};
  scaleRows(tracks, output.height / 2, width / 2);
}

} // namespace tlux

void NV21NV12_Tone(const uint8_t* srcY, const uint8_t* srcUV, const uint8_t* dstY, uint8_t* dstUV,
                   int32_t height, int32_t width, int32_t pitch) noexcept {
  if (srcY == nullptr || srcUV == nullptr || dstY == nullptr || dstUV == nullptr) return;
  const std::int64_t rounded = tlux::roundedWidth(width);
  const std::int64_t lumaStep = rounded + pitch;
  tlux::scaleRows({{srcY, lumaStep, tlux::kNoEnd},
                   {dstY, lumaStep, tlux::kNoEnd},
                   {srcUV, rounded, tlux::kNoEnd},
                   {dstUV, rounded, tlux::kNoEnd}},
                  height / 2, rounded / 2);
}

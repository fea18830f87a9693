#include "gain/line_tone.hpp"

#include <algorithm>
#include <array>

#include "tlux/gain_lines.h"

namespace tlux::detail {
namespace {

constexpr std::int64_t kPiece = 128; // pixels whose old luma is buffered at a time

using PairSums = std::array<std::uint16_t, kPiece / 2>;

void sumPairs(const std::uint8_t* luma, std::int64_t pairs, PairSums& sums) {
  for (std::int64_t k = 0; k < pairs; ++k) {
    sums[static_cast<std::size_t>(k)] = static_cast<std::uint16_t>(luma[2 * k] + luma[2 * k + 1]);
  }
}

// Scales chroma about neutral. The change is eased in just below neutral but not just above;
// intended.
std::uint8_t scaledChroma(std::int32_t c, std::int32_t ratio) {
  constexpr std::int32_t kEased = 32;
  const std::int32_t scaled = ((c - 128) * ratio >> 10) + 128;
  const std::int32_t distance = 128 - c;
  const std::int32_t eased = (c * (kEased - distance) + scaled * distance) / kEased;
  return clampToByte(distance > 0 && distance < kEased ? eased : scaled);
}

void scaleChroma(std::uint8_t* __restrict chroma, std::int64_t pairs, const PairSums& oldSums,
                 const PairSums& newSums) {
  for (std::int64_t k = 0; k < pairs; ++k) {
    const auto i = static_cast<std::size_t>(k);
    const std::int32_t ratio = lumaRatio(newSums[i], oldSums[i]);
    chroma[2 * k] = scaledChroma(chroma[2 * k], ratio);
    chroma[2 * k + 1] = scaledChroma(chroma[2 * k + 1], ratio);
  }
}

} // namespace

void toneLine(const ToneLine& line, const std::uint16_t* gains, const TransferCurves& curves) {
  PairSums oldSums{};
  PairSums newSums{};
  for (std::int64_t first = 0; first < line.pixels; first += kPiece) {
    std::uint8_t* luma = line.luma + first;
    const std::int64_t pixels = std::min(kPiece, line.pixels - first);
    const std::int64_t pairs = std::clamp<std::int64_t>(line.pairs - first / 2, 0, pixels / 2);
    sumPairs(luma, pairs, oldSums);
    for (std::int64_t x = 0; x < pixels; ++x) {
      luma[x] = applyLinearGain(luma[x], gains[first + x], curves);
    }
    sumPairs(luma, pairs, newSums);
    if (pairs > 0) scaleChroma(line.chroma + first, pairs, oldSums, newSums);
  }
}

} // namespace tlux::detail

using namespace tlux::detail;

void AME_NV21NV12_LineTone(int32_t row, uint8_t* luma, uint8_t* chroma, int32_t width,
                           const uint16_t* gains, const uint16_t* degamma,
                           const uint8_t* gamma) noexcept {
  const bool hasChroma = (row & 1) == 0;
  if (width <= 0 || luma == nullptr || gains == nullptr || degamma == nullptr) return;
  if (gamma == nullptr || (hasChroma && chroma == nullptr)) return;
  const int64_t pixels = (int64_t{width} + 3) & ~int64_t{3};
  toneLine({luma, pixels, chroma, hasChroma ? pixels / 2 : 0}, gains, {degamma, gamma});
}

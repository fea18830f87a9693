#include "tone/fast_guided_filter.hpp"

#include <algorithm>
#include <cstring>

#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"
#include "tone/block_mean.hpp"
#include "tone/guide_block.hpp"
#include "tone/window_sums.hpp"

namespace tlux {
namespace {

constexpr std::int64_t kPoolHeader = 16;
constexpr std::int64_t kPoolSlack = 64; // end header, alignment, rounding of the blocks
constexpr std::int64_t kWorkerBytesPerPitch = 40;

// Clamped in the lanes it comes in.
template <class Value>
std::uint8_t clampLuma(Value value) {
  value = value < 0 ? Value{0} : value;
  value = value > 255 ? Value{255} : value;
  return static_cast<std::uint8_t>(value);
}

// The whole way of a pixel in one pass. Results go through a short buffer, so that the compiler
// need not fear that the output lies over the guide, which it may.
template <int kPhase, class Slope>
[[gnu::always_inline]] inline void applyPhase(const CoefficientLines<Slope>& lines,
                                              const std::uint8_t* guide, std::uint8_t* out,
                                              std::ptrdiff_t width) {
  constexpr std::ptrdiff_t kBlock = 512;
  const Slope* __restrict upperA = lines.upperA;
  const Slope* __restrict lowerA = lines.lowerA;
  const std::int32_t* __restrict upperB = lines.upperB;
  const std::int32_t* __restrict lowerB = lines.lowerB;
  std::uint8_t block[kBlock];
  for (std::ptrdiff_t first = 0; first < width; first += kBlock) {
    const std::ptrdiff_t count = std::min(width - first, kBlock);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      const std::ptrdiff_t x = first + i;
      const Slope luma = guide[x];
      const Slope a = mixEighths<kPhase>(upperA[x], lowerA[x]);
      const std::int32_t b = mixEighths<kPhase>(upperB[x], lowerB[x]);
      block[i] = clampLuma(static_cast<Slope>(wrappingAdd(b, wrappingMul(luma, a)) >> 10));
    }
    std::memcpy(out + first, block, static_cast<std::size_t>(count));
  }
}

TLUX_MULTIVERSION bool isWithin(const std::int32_t* values, std::ptrdiff_t count,
                                std::int32_t magnitude) {
  std::int32_t lowest = 0;
  std::int32_t highest = 0;
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    lowest = std::min(lowest, values[i]);
    highest = std::max(highest, values[i]);
  }
  return lowest >= -magnitude && highest <= magnitude;
}

bool haveShortSlopes(const TLUX_GUIDE_CONTEXT& band, Band rows) {
  constexpr std::int32_t kLargestOffset = 1 << 24;
  const std::ptrdiff_t first = std::ptrdiff_t{rows.first} * band.lowWidth;
  const std::ptrdiff_t count = std::ptrdiff_t{rows.end - rows.first} * band.lowWidth;
  return isWithin(band.smoothA + first, count, kMixable16) &&
         isWithin(band.smoothB + first, count, kLargestOffset);
}

template <int kPhase, class Slope>
[[gnu::always_inline]] inline void applyFromPhase(int phase, const CoefficientLines<Slope>& lines,
                                                  const std::uint8_t* guide, std::uint8_t* out,
                                                  std::ptrdiff_t width) {
  if (phase == kPhase) {
    applyPhase<kPhase>(lines, guide, out, width);
  } else if constexpr (kPhase + 1 < kUpsampling) {
    applyFromPhase<kPhase + 1>(phase, lines, guide, out, width);
  }
}

} // namespace

TLUX_MULTIVERSION void applyCoefficients(int phase, const CoefficientLines<std::int16_t>& lines,
                                         const std::uint8_t* guide, std::uint8_t* out,
                                         std::ptrdiff_t width) {
  applyFromPhase<0>(phase, lines, guide, out, width);
}

TLUX_MULTIVERSION void applyCoefficients(int phase, const CoefficientLines<std::int32_t>& lines,
                                         const std::uint8_t* guide, std::uint8_t* out,
                                         std::ptrdiff_t width) {
  applyFromPhase<0>(phase, lines, guide, out, width);
}

Coefficients computeCoefficients(const TLUX_GUIDE_CONTEXT& band) {
  const Band rows = rowsOf(band);
  const std::int32_t width = band.lowWidth;
  const std::int32_t height = band.lowHeight;
  const SmoothedBand smoothed = {band.startRow, band.bandRows, rows};
  const auto smooth = [&](const std::int32_t* raw, std::int32_t* out) {
    return smoothBand(band.manager, smoothed, packedPlane(raw, width, height), out, band.radius);
  };
  const std::uint32_t solved = guideBlock(
      band.manager, rows, {band.input, width, height, band.lowPitch},
      {band.guide, width, height, band.lowPitch}, band.rawA, band.rawB, band.radius, band.eps);
  if (solved != TLUX_OK || smooth(band.rawA, band.smoothA) != TLUX_OK ||
      smooth(band.rawB, band.smoothB) != TLUX_OK) {
    return Coefficients::kNone;
  }
  return haveShortSlopes(band, rows) ? Coefficients::kShort : Coefficients::kLong;
}

std::int64_t workerPoolBytes(std::int32_t lowWidth, std::int32_t radius, std::int64_t ownBytes) {
  const std::int64_t sums =
      std::max(guideBlockScratchBytes(lowWidth, radius), blockMeanScratchBytes(lowWidth, radius));
  const std::int64_t line =
      2 * kUpsampling * std::int64_t{lowWidth} * std::int64_t{sizeof(std::int32_t)};
  return std::max(kPoolHeader + sums, 2 * (kPoolHeader + line)) + kPoolHeader + ownBytes +
         kPoolSlack;
}

namespace {

// Stores the rows of a band where its context says.
struct StoreRows {
  const TLUX_GUIDE_CONTEXT* band;

  template <class Slope>
  void operator()(std::int64_t y, int phase, const CoefficientLines<Slope>& lines) const {
    const std::int64_t at = y * band->fullPitch;
    applyCoefficients(phase, lines, band->fullGuide + at, band->fullOut + at,
                      std::ptrdiff_t{kUpsampling} * band->lowWidth);
  }
};

} // namespace
} // namespace tlux

uint32_t FastGuideFilterMT(MMemMgr memMgr, const uint8_t* input, const uint8_t* guide,
                           const uint8_t* fullGuide, uint8_t* fullOut, int32_t lowW, int32_t lowH,
                           int32_t lowPitch, int32_t fullPitch, int32_t radius,
                           int32_t eps) noexcept {
  if (input == nullptr || guide == nullptr || fullGuide == nullptr || fullOut == nullptr ||
      lowPitch < lowW || fullPitch < std::int64_t{tlux::kUpsampling} * lowW ||
      !tlux::isWindowRadius(radius)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  TLUX_GUIDE_CONTEXT frame = {};
  frame.input = input;
  frame.guide = guide;
  frame.fullGuide = fullGuide;
  frame.fullOut = fullOut;
  frame.lowWidth = lowW;
  frame.lowHeight = lowH;
  frame.lowPitch = lowPitch;
  frame.fullPitch = fullPitch;
  frame.radius = radius;
  frame.eps = eps;
  const std::int64_t bytes =
      std::max(tlux::kWorkerBytesPerPitch * fullPitch, tlux::workerPoolBytes(lowW, radius));
  tlux::WorkerTeam team;
  return tlux::filterInStrips(memMgr, frame, bytes, team, [](const tlux::Strip& strip) {
    tlux::filterStrip(strip, tlux::StoreRows{strip.band});
  });
}

void FastGuideFilterSingleThread(const TLUX_GUIDE_CONTEXT* context) noexcept {
  if (context == nullptr) return;
  tlux::filterBand(*context, tlux::StoreRows{context});
}

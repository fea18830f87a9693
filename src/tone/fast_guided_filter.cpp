#include "tone/fast_guided_filter.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/fixed_point.hpp"
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
void applyPhase(const CoefficientLines<Slope>& lines, const std::uint8_t* guide, std::uint8_t* out,
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

bool isWithin(const std::int32_t* values, std::ptrdiff_t count, std::int32_t magnitude) {
  std::int32_t lowest = 0;
  std::int32_t highest = 0;
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    lowest = std::min(lowest, values[i]);
    highest = std::max(highest, values[i]);
  }
  return lowest >= -magnitude && highest <= magnitude;
}

template <class Slope, int... kPhases>
constexpr auto phaseKernels(std::integer_sequence<int, kPhases...> /*phases*/) {
  return std::array{&applyPhase<kPhases, Slope>...};
}

} // namespace

template <class Slope>
void applyCoefficients(int phase, const CoefficientLines<Slope>& lines, const std::uint8_t* guide,
                       std::uint8_t* out, std::ptrdiff_t width) {
  constexpr auto kKernels = phaseKernels<Slope>(std::make_integer_sequence<int, kUpsampling>());
  kKernels[static_cast<std::size_t>(phase)](lines, guide, out, width);
}

template void applyCoefficients(int, const CoefficientLines<std::int16_t>&, const std::uint8_t*,
                                std::uint8_t*, std::ptrdiff_t);
template void applyCoefficients(int, const CoefficientLines<std::int32_t>&, const std::uint8_t*,
                                std::uint8_t*, std::ptrdiff_t);

bool hasShortCoefficients(const TLUX_GUIDE_CONTEXT& band) {
  constexpr std::int32_t kLargestOffset = 1 << 24;
  const Band rows = rowsOf(band);
  const std::ptrdiff_t first = std::ptrdiff_t{rows.first} * band.lowWidth;
  const std::ptrdiff_t count = std::ptrdiff_t{rows.end - rows.first} * band.lowWidth;
  return isWithin(band.smoothA + first, count, kMixable16) &&
         isWithin(band.smoothB + first, count, kLargestOffset);
}

bool computeCoefficients(const TLUX_GUIDE_CONTEXT& band) {
  const Band rows = rowsOf(band);
  const std::int32_t width = band.lowWidth;
  const std::int32_t height = band.lowHeight;
  const SmoothedBand smoothed = {band.startRow, band.bandRows, rows};
  const auto smooth = [&](const std::int32_t* raw, std::int32_t* out) {
    return smoothBand(band.manager, smoothed, packedPlane(raw, width, height), out, band.radius);
  };
  return guideBlock(band.manager, rows, {band.input, width, height, band.lowPitch},
                    {band.guide, width, height, band.lowPitch}, band.rawA, band.rawB, band.radius,
                    band.eps) == TLUX_OK &&
         smooth(band.rawA, band.smoothA) == TLUX_OK && smooth(band.rawB, band.smoothB) == TLUX_OK;
}

std::int64_t workerPoolBytes(std::int32_t lowWidth, std::int32_t radius, std::int64_t ownBytes) {
  const std::int64_t sums =
      std::max(guideBlockScratchBytes(lowWidth, radius), blockMeanScratchBytes(lowWidth, radius));
  const std::int64_t line =
      2 * kUpsampling * std::int64_t{lowWidth} * std::int64_t{sizeof(std::int32_t)};
  return std::max(kPoolHeader + sums, 2 * (kPoolHeader + line)) + kPoolHeader + ownBytes +
         kPoolSlack;
}

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
  return tlux::filterInBands(memMgr, frame, bytes, [](const TLUX_GUIDE_CONTEXT& band) {
    FastGuideFilterSingleThread(&band);
  });
}

void FastGuideFilterSingleThread(const TLUX_GUIDE_CONTEXT* context) noexcept {
  if (context == nullptr) return;
  const std::ptrdiff_t pitch = context->fullPitch;
  const std::ptrdiff_t width = std::ptrdiff_t{tlux::kUpsampling} * context->lowWidth;
  tlux::filterBand(*context, [=](std::int64_t y, int phase, const auto& lines) {
    tlux::applyCoefficients(phase, lines, context->fullGuide + y * pitch,
                            context->fullOut + y * pitch, width);
  });
}

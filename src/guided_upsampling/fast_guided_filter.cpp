#include "guided_upsampling/fast_guided_filter.hpp"

#include <algorithm>

#include "base/multiversion.hpp"
#include "guided_upsampling/block_mean.hpp"
#include "guided_upsampling/guide_block.hpp"
#include "guided_upsampling/window_sums.hpp"

namespace tlux {
namespace {

// What a worker keeps for lines is the same whichever way it goes.
static_assert(ShortGroups::scratchSamples(kFewestShortCells) * sizeof(ShortGroups::Sample) <=
              LongGroups::scratchSamples(kFewestShortCells) * sizeof(LongGroups::Sample));

constexpr std::int64_t kPoolHeader = 16;
constexpr std::int64_t kPoolSlack = 64; // end header, alignment, rounding of the blocks
constexpr std::int64_t kWorkerBytesPerPitch = 40;

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

bool fitShortGroups(const TLUX_GUIDE_CONTEXT& band, Band rows) {
  const std::ptrdiff_t first = std::ptrdiff_t{rows.first} * band.lowWidth;
  const std::ptrdiff_t count = std::ptrdiff_t{rows.end - rows.first} * band.lowWidth;
  return isWithin(band.smoothA + first, count, kLargestShortA) &&
         isWithin(band.smoothB + first, count, kLargestShortB);
}

} // namespace

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
  return fitShortGroups(band, rows) ? smallCoefficients(width) : Coefficients::kLong;
}

std::int64_t workerPoolBytes(std::int32_t lowWidth, std::int32_t radius, std::int64_t ownBytes) {
  const std::int64_t sums =
      std::max(guideBlockScratchBytes(lowWidth, radius), blockMeanScratchBytes(lowWidth, radius));
  const std::int64_t lines =
      LongGroups::scratchSamples(lowWidth) * std::int64_t{sizeof(LongGroups::Sample)};
  return kPoolHeader + std::max(sums, lines) + kPoolHeader + ownBytes + kPoolSlack;
}

namespace {

// Stores the rows of a band where its context says.
struct StoreRows {
  const TLUX_GUIDE_CONTEXT* band;

  template <class Groups>
  void operator()(std::int64_t y, Groups& groups) const {
    const std::ptrdiff_t pitch = band->fullPitch;
    groups.makeLuma({0, std::ptrdiff_t{kUpsampling} * band->lowWidth},
                    {band->fullGuide + y * pitch, pitch}, {band->fullOut + y * pitch, pitch});
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
  return tlux::filterOnThreads(memMgr, frame, bytes, [](const tlux::Strip& strip) {
    tlux::filterStrip(strip, tlux::StoreRows{strip.band});
  });
}

void FastGuideFilterSingleThread(const TLUX_GUIDE_CONTEXT* context) noexcept {
  if (context == nullptr) return;
  tlux::filterBand(*context, tlux::StoreRows{context});
}

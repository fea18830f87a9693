// The fast guided filter: windows of 2r × 2r, edges repeated.
#include "guided_upsampling/fast_guided_filter.hpp"

#include <algorithm>

#include "guided_upsampling/block_mean.hpp"
#include "guided_upsampling/guide_block.hpp"
#include "guided_upsampling/window_sums.hpp"

namespace tlux::detail {
namespace {

// A worker's line memory is the same either way.
static_assert(ShortGroups::scratchSamples(kFewestShortCells) * sizeof(ShortGroups::Sample) <=
              LongGroups::scratchSamples(kFewestShortCells) * sizeof(LongGroups::Sample));

constexpr std::int64_t kPoolHeader = 16;
constexpr std::int64_t kPoolSlack = 64; // end header, alignment, rounding of the blocks
constexpr std::int64_t kWorkerBytesPerPitch = 40;

// Stores the rows of a frame.
struct StoreRows {
  std::int32_t lowWidth;
  LumaRows<const std::uint8_t> guide;
  LumaRows<std::uint8_t> out;

  template <class Groups>
  void operator()(std::int64_t y, Groups& groups) const {
    groups.makeLuma({0, std::ptrdiff_t{kUpsampling} * lowWidth}, {guide.row(y), guide.pitch},
                    {out.row(y), out.pitch});
  }
};

} // namespace

std::int64_t workerPoolBytes(std::int32_t lowWidth, std::int32_t radius, std::int64_t ownBytes) {
  const std::int64_t sums =
      std::max(guideBlockScratchBytes(lowWidth, radius), blockMeanScratchBytes(lowWidth, radius));
  const std::int64_t lines =
      LongGroups::scratchSamples(lowWidth) * std::int64_t{sizeof(LongGroups::Sample)};
  return kPoolHeader + std::max(sums, lines) + kPoolHeader + ownBytes + kPoolSlack;
}

} // namespace tlux::detail

using namespace tlux::detail;

uint32_t FastGuideFilterMT(MMemMgr memMgr, const uint8_t* input, const uint8_t* guide,
                           const uint8_t* fullGuide, uint8_t* fullOut, int32_t lowW, int32_t lowH,
                           int32_t lowPitch, int32_t fullPitch, int32_t radius,
                           int32_t eps) noexcept {
  if (input == nullptr || guide == nullptr || fullGuide == nullptr || fullOut == nullptr ||
      lowPitch < lowW || fullPitch < std::int64_t{kUpsampling} * lowW || !isWindowRadius(radius)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  const GuidedFrame frame = {
      {input, lowW, lowH, lowPitch}, {guide, lowW, lowH, lowPitch}, radius, eps};
  const StoreRows store = {lowW, {fullGuide, fullPitch}, {fullOut, fullPitch}};
  const std::int64_t bytes =
      std::max(kWorkerBytesPerPitch * fullPitch, workerPoolBytes(lowW, radius));
  return codeOf(filterOnThreads(memMgr, frame, bytes, [&store](const Strip& strip) {
    static_cast<void>(filterStrip(strip, store)); // rows that cannot be made stay as they are
  }));
}

void FastGuideFilterSingleThread(const TLUX_GUIDE_CONTEXT* context) noexcept {
  if (context == nullptr) return;
  const StoreRows store = {context->lowWidth,
                           {context->fullGuide, context->fullPitch},
                           {context->fullOut, context->fullPitch}};
  // Rows that cannot be made stay as they are.
  static_cast<void>(filterBand(bandOf(*context), store));
}

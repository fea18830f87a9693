#include <algorithm>

#include "base/result.hpp"
#include "chroma/semi_planar.hpp"
#include "guided_upsampling/fast_guided_filter.hpp"
#include "guided_upsampling/window_sums.hpp"
#include "tlux/tone.h"

namespace tlux::detail {
namespace {

// The planes of a frame before and after; `guide` is the luma before.
struct TonePlanes {
  LumaRows<const std::uint8_t> guide;
  LumaRows<const std::uint8_t> chromaIn;
  LumaRows<std::uint8_t> luma;
  LumaRows<std::uint8_t> chroma;
};

// Turns filtered rows into a change of luma, one tile of columns at a time.
struct ToneRows {
  std::int32_t lowWidth;
  TonePlanes planes;

  template <class Groups>
  void operator()(std::int64_t y, Groups& groups) const {
    constexpr std::int32_t kTile = 256;
    std::uint8_t change[kUpsampling * kTile];
    const std::int32_t width = kUpsampling * lowWidth;
    for (std::int32_t x = 0; x < width; x += kTile) {
      const std::int32_t end = std::min(x + kTile, width);
      groups.makeLuma({x, end}, {planes.guide.row(y) + x, planes.guide.pitch}, {change, kTile});
      for (int i = 0; i < kUpsampling; ++i) {
        const std::int64_t row = y + i;
        GuideToneNV21Line(static_cast<std::int32_t>(row), planes.luma.row(row) + x,
                          planes.chroma.row(row / 2) + x, planes.guide.row(row) + x,
                          planes.chromaIn.row(row / 2) + x, change + i * kTile, end - x);
      }
    }
  }
};

// A packed copy of the top left of a luma plane, which keeps the guide intact while the rows of the
// frame are rewritten.
void copyLuma(const TLUX_IMAGE& source, std::uint8_t* copy, std::int64_t width,
              std::int64_t height) {
  for (std::int64_t y = 0; y < height; ++y) {
    MMemCpy(copy + y * width, source.plane[0] + y * source.pitch[0],
            static_cast<std::uint64_t>(width));
  }
}

Result toneInBands(MMemMgr manager, const TLUX_IMAGE& source, const TLUX_IMAGE& output,
                   const GuidedFrame& frame) {
  const std::int64_t width = std::int64_t{kUpsampling} * frame.width();
  const std::int64_t height = std::int64_t{kUpsampling} * frame.height();
  const Scratch<std::uint8_t> luma(manager, width * height);
  if (!luma) return Result::kNoMemory;
  copyLuma(source, luma.get(), width, height);
  const ToneRows tone = {frame.width(),
                         {{luma.get(), static_cast<std::ptrdiff_t>(width)},
                          {source.plane[1], source.pitch[1]},
                          {output.plane[0], output.pitch[0]},
                          {output.plane[1], output.pitch[1]}}};
  const std::int64_t bytes = workerPoolBytes(frame.width(), frame.radius);
  return filterOnThreads(manager, frame, bytes, [&tone](const Strip& strip) {
    static_cast<void>(filterStrip(strip, tone)); // rows that cannot be made stay as they are
  });
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

void SingleThreadGuideTone(const TLUX_GUIDE_TONE_CONTEXT* context) noexcept {
  if (context == nullptr) return;
  const TLUX_GUIDE_CONTEXT& filter = context->filter;
  const TonePlanes planes = {{filter.fullGuide, context->guidePitch},
                             {context->uvIn, context->uvInPitch},
                             {filter.fullOut, filter.fullPitch},
                             {context->uvOut, context->uvOutPitch}};
  // Rows that cannot be made stay as they are.
  static_cast<void>(filterBand(bandOf(filter), ToneRows{filter.lowWidth, planes}));
}

uint32_t MultiThreadGuideTone(MMemMgr memMgr, const TLUX_IMAGE* source, TLUX_IMAGE* output,
                              const uint8_t* delta, const uint8_t* guide, int32_t lowW,
                              int32_t lowH, int32_t lowPitch, int32_t radius,
                              int32_t eps) noexcept {
  if (source == nullptr || output == nullptr || delta == nullptr || guide == nullptr ||
      lowPitch < lowW || !isWindowRadius(radius)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  if (lowW < 1 || lowH < 1) return lowW < 0 || lowH < 0 ? TLUX_ERR_NO_MEMORY : TLUX_OK;
  for (const TLUX_IMAGE* image : {source, static_cast<const TLUX_IMAGE*>(output)}) {
    const Result result =
        checkSemiPlanar(*image, std::int64_t{kUpsampling} * lowW, std::int64_t{kUpsampling} * lowH);
    if (result != Result::kOk) return codeOf(result);
  }
  const GuidedFrame frame = {
      {delta, lowW, lowH, lowPitch}, {guide, lowW, lowH, lowPitch}, radius, eps};
  return codeOf(toneInBands(memMgr, *source, *output, frame));
}

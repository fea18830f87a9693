#include <algorithm>

#include "base/bands.hpp"
#include "base/result.hpp"
#include "chroma/semi_planar.hpp"
#include "platform/worker_team.hpp"
#include "tlux/tone.h"

namespace tlux::detail {
namespace {

// An odd last luma row has no chroma row.
void scaleBand(const TLUX_TONE_CONTEXT& band) {
  const std::int64_t chromaRows = band.height / 2;
  const std::int64_t end = std::min(
      {std::int64_t{band.startRow} + band.bandRows, std::int64_t{band.height}, 2 * chromaRows});
  for (std::int64_t y = band.startRow; y < end; ++y) {
    const std::int64_t j = y / 2;
    ToneNV21Line(static_cast<std::int32_t>(y), band.newY + y * band.newPitch,
                 band.uvOut + j * band.uvOutPitch, band.oldY + y * band.oldPitch,
                 band.uvIn + j * band.uvInPitch, band.width);
  }
}

Result scaleInBands(const TLUX_IMAGE& image, const TLUX_IMAGE& output) {
  const std::int32_t rows = bandHeight(image.height);
  WorkerTeam team;
  team.share(team.isComplete() ? kBandCount : team.started(), [&](std::int64_t index, int) {
    const TLUX_TONE_CONTEXT band = {image.plane[0],
                                    output.plane[0],
                                    image.plane[1],
                                    output.plane[1],
                                    image.pitch[0],
                                    output.pitch[0],
                                    image.pitch[1],
                                    output.pitch[1],
                                    image.width,
                                    image.height,
                                    static_cast<std::int32_t>(index * rows),
                                    rows};
    NV21NV12_ToneSingleThread(&band);
  });
  return team.isComplete() ? Result::kOk : Result::kNoThread;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t NV21NV12_ToneSingleThread(const TLUX_TONE_CONTEXT* context) noexcept {
  if (context != nullptr) scaleBand(*context);
  return TLUX_OK;
}

uint32_t NV21NV12_ToneMT(const TLUX_IMAGE* image, TLUX_IMAGE* output) noexcept {
  if (image == nullptr || output == nullptr) return TLUX_ERR_INVALID_PARAM;
  for (const TLUX_IMAGE* frame : {image, static_cast<const TLUX_IMAGE*>(output)}) {
    const Result result = checkSemiPlanar(*frame, image->width, image->height);
    if (result != Result::kOk) return codeOf(result);
  }
  return codeOf(scaleInBands(*image, *output));
}

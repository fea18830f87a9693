#include "tone/chroma_rule.hpp"

#include <algorithm>
#include <limits>
#include <utility>

#include "tlux/tone.h"
#include "tone/chroma_row.hpp"

namespace tlux {
namespace {

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

#include "chroma/chroma_rule.hpp"

#include <algorithm>
#include <limits>
#include <utility>

#include "chroma/chroma_row.hpp"
#include "tlux/tone.h"

namespace tlux::detail {
namespace {

constexpr std::int64_t kNoEnd = std::numeric_limits<std::int64_t>::max();

std::int64_t roundedWidth(std::int32_t width) {
  return width < 1 ? 0 : (std::int64_t{width} + 3) / 4 * 4;
}

std::int64_t planeBytes(const TLUX_IMAGE& image, int plane) {
  const std::int64_t rows = plane == 0 ? image.height : image.height / 2;
  return image.pitch[plane] * rows;
}

} // namespace

std::int64_t ChromaWalk::pairsWithin(std::int64_t j) const {
  return std::min({oldLuma_.pairsFrom(j), newLuma_.pairsFrom(j), chromaIn_.pairsFrom(j),
                   chromaOut_.pairsFrom(j)});
}

void ChromaWalk::scaleColumns(std::int64_t j, std::int64_t first, std::int64_t end) const {
  std::int64_t last = std::min(end / 2, pairs_);
  if (!areRowsWhole_) last = std::min(last, pairsWithin(j));
  if (first / 2 >= last) return;
  scale_(oldLuma_.row(j) + first, newLuma_.row(j) + first, chromaIn_.row(j) + first,
         chromaOut_.row(j) + first, last - first / 2);
}

void ChromaWalk::scaleRows(std::int64_t first, std::int64_t end) const {
  for (std::int64_t j = first; j < end; ++j) {
    scaleRow(j);
  }
}

ChromaWalk chromaWalk(const TLUX_IMAGE& source, const TLUX_IMAGE& output) {
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
  return {{source.plane[0], lumaStep[0], planeBytes(source, 0)},
          {output.plane[0], lumaStep[1], planeBytes(output, 0)},
          {source.plane[1], chromaStep[0], planeBytes(source, 1)},
          {output.plane[1], chromaStep[1], planeBytes(output, 1)},
          output.height / 2,
          width / 2};
}

void scaleChromaByLumaRatio(const TLUX_IMAGE& source, const TLUX_IMAGE& output) {
  const ChromaWalk walk = chromaWalk(source, output);
  walk.scaleRows(0, walk.rows());
}

bool keepsToRows(const ChromaWalk& walk, const TLUX_IMAGE& source, const TLUX_IMAGE& output) {
  return walk.hasSteps(2 * std::int64_t{source.pitch[0]}, 2 * std::int64_t{output.pitch[0]},
                       source.pitch[1], output.pitch[1]);
}

} // namespace tlux::detail

using namespace tlux::detail;

void NV21NV12_Tone(const uint8_t* srcY, const uint8_t* srcUV, const uint8_t* dstY, uint8_t* dstUV,
                   int32_t height, int32_t width, int32_t pitch) noexcept {
  if (srcY == nullptr || srcUV == nullptr || dstY == nullptr || dstUV == nullptr) return;
  const std::int64_t rounded = roundedWidth(width);
  const std::int64_t lumaStep = rounded + pitch;
  const ChromaWalk walk({srcY, lumaStep, kNoEnd}, {dstY, lumaStep, kNoEnd},
                        {srcUV, rounded, kNoEnd}, {dstUV, rounded, kNoEnd}, height / 2,
                        rounded / 2);
  walk.scaleRows(0, walk.rows());
}

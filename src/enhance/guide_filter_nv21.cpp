// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges.
#include "base/plane.hpp"
#include "enhance/chroma_planes.hpp"
#include "filter/guided_planes.hpp"
#include "tlux/nv21_tools.h"

namespace tlux::detail {
namespace {

using Filter = GuidedFilter<TruncatingModel>;

void filterPlane(const Filter& filter, const GuidedPlanes& planes, std::int32_t radius) {
  const std::int32_t width = planes.output.width;
  const std::int32_t height = planes.output.height;
  filter.run({rowsOf(planes.guide), rowsOf(planes.input), writableRowsOf(planes.output)},
             Windows(width, height, radius), {0, 0, width, height});
}

std::uint32_t filterChannel(MMemMgr manager, const GuidedPlanes& planes, std::int32_t radius) {
  const std::int32_t width = planes.output.width;
  const std::int32_t height = planes.output.height;
  if (!isFilterableSize(width, height) || radius < 0 || !isPlane(planes.guide) ||
      !isPlane(planes.input) || !isPlane(planes.output)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  const Filter filter(manager, Windows(width, height, radius));
  if (!filter) return TLUX_ERR_NO_MEMORY;
  filterPlane(filter, planes, radius);
  return TLUX_OK;
}

std::uint32_t filterFrame(MMemMgr manager, const TLUX_IMAGE* source, const TLUX_IMAGE* target,
                          std::int32_t radius) {
  const std::uint32_t outcomes[] = {checkSemiPlanar(source), checkSemiPlanar(target)};
  for (const std::uint32_t outcome : outcomes) {
    if (outcome != TLUX_OK) return outcome;
  }
  const std::int32_t width = source->width;
  const std::int32_t height = source->height;
  if (source->format != target->format || width != target->width || height != target->height ||
      radius < 0 || !isFilterableSize(width, height)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  const ComponentPlane pairs = chromaPairsOf(*source);
  const auto chromaWidth = static_cast<std::int32_t>(pairs.width);
  const auto chromaHeight = static_cast<std::int32_t>(pairs.height);
  const std::int64_t chromaBytes = std::max<std::int64_t>(pairs.width * pairs.height, 1);

  const Filter filter(manager, Windows(width, height, radius));
  const Scratch<std::uint8_t> chroma(manager, 2 * chromaBytes);
  if (!filter || !chroma) return TLUX_ERR_NO_MEMORY;

  const Plane<const std::uint8_t> luma{source->plane[0], width, height, source->pitch[0]};
  filterPlane(filter, {luma, luma, {target->plane[0], width, height, target->pitch[0]}}, radius);

  if (pairs.isEmpty()) return TLUX_OK;
  std::uint8_t* planes[] = {chroma.get(), chroma.get() + chromaBytes};
  splitChroma(*source, planes[0], planes[1], pairs.width);
  for (std::uint8_t* plane : planes) {
    const Plane<std::uint8_t> view = packedPlane(plane, chromaWidth, chromaHeight);
    filterPlane(filter, {view, view, view}, radius / 2 + radius % 2);
  }
  joinChroma(planes[0], planes[1], pairs.width, *target);
  return TLUX_OK;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t DstFilterChannel(MMemMgr manager, const uint8_t* guide, int32_t guidePitch,
                          const uint8_t* channel, int32_t channelPitch, uint8_t* target,
                          int32_t targetPitch, int32_t width, int32_t height,
                          int32_t radius) noexcept {
  return filterChannel(manager,
                       {{guide, width, height, guidePitch},
                        {channel, width, height, channelPitch},
                        {target, width, height, targetPitch}},
                       radius);
}

uint32_t GuideFilterNV21(MMemMgr manager, const TLUX_IMAGE* source, TLUX_IMAGE* target,
                         int32_t radius) noexcept {
  return filterFrame(manager, source, target, radius);
}

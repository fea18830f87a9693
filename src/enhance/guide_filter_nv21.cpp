// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges.
#include "base/plane.hpp"
#include "base/result.hpp"
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

Result filterChannel(MMemMgr manager, const GuidedPlanes& planes, std::int32_t radius) {
  const std::int32_t width = planes.output.width;
  const std::int32_t height = planes.output.height;
  if (!isFilterableSize(width, height) || radius < 0 || !isPlane(planes.guide) ||
      !isPlane(planes.input) || !isPlane(planes.output)) {
    return Result::kInvalidParam;
  }
  const Filter filter(manager, Windows(width, height, radius));
  if (!filter) return Result::kNoMemory;
  filterPlane(filter, planes, radius);
  return Result::kOk;
}

Result filterFrame(MMemMgr manager, const TLUX_IMAGE* source, const TLUX_IMAGE* target,
                   std::int32_t radius) {
  const Result outcomes[] = {checkSemiPlanar(source), checkSemiPlanar(target)};
  for (const Result outcome : outcomes) {
    if (outcome != Result::kOk) return outcome;
  }
  const std::int32_t width = source->width;
  const std::int32_t height = source->height;
  if (source->format != target->format || width != target->width || height != target->height ||
      radius < 0 || !isFilterableSize(width, height)) {
    return Result::kInvalidParam;
  }
  const ComponentPlane pairs = chromaPairsOf(*source);
  const auto chromaWidth = static_cast<std::int32_t>(pairs.width);
  const auto chromaHeight = static_cast<std::int32_t>(pairs.height);
  const std::int64_t chromaBytes = std::max<std::int64_t>(pairs.width * pairs.height, 1);

  const Filter filter(manager, Windows(width, height, radius));
  const Scratch<std::uint8_t> chroma(manager, 2 * chromaBytes);
  if (!filter || !chroma) return Result::kNoMemory;

  const Plane<const std::uint8_t> luma{source->plane[0], width, height, source->pitch[0]};
  filterPlane(filter, {luma, luma, {target->plane[0], width, height, target->pitch[0]}}, radius);

  if (pairs.isEmpty()) return Result::kOk;
  std::uint8_t* planes[] = {chroma.get(), chroma.get() + chromaBytes};
  splitChroma(*source, planes[0], planes[1], pairs.width);
  for (std::uint8_t* plane : planes) {
    const Plane<std::uint8_t> view = packedPlane(plane, chromaWidth, chromaHeight);
    filterPlane(filter, {view, view, view}, radius / 2 + radius % 2);
  }
  joinChroma(planes[0], planes[1], pairs.width, *target);
  return Result::kOk;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t DstFilterChannel(MMemMgr manager, const uint8_t* guide, int32_t guidePitch,
                          const uint8_t* channel, int32_t channelPitch, uint8_t* target,
                          int32_t targetPitch, int32_t width, int32_t height,
                          int32_t radius) noexcept {
  return codeOf(filterChannel(manager,
                              {{guide, width, height, guidePitch},
                               {channel, width, height, channelPitch},
                               {target, width, height, targetPitch}},
                              radius));
}

uint32_t GuideFilterNV21(MMemMgr manager, const TLUX_IMAGE* source, TLUX_IMAGE* target,
                         int32_t radius) noexcept {
  return codeOf(filterFrame(manager, source, target, radius));
}

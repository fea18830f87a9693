#include "enhance/histogram.hpp"

#include <algorithm>

#include "base/fixed_point.hpp"
#include "tlux/equalization.h"

namespace tlux::detail {

void addToHistogram(const Plane<const std::uint8_t>& plane, const Rect& area,
                    std::uint32_t* histogram) {
  if (area.bottom <= area.top || area.right <= area.left) return;
  const auto width = static_cast<std::size_t>(area.right - area.left);
  LaneHistogram<std::uint32_t, 4> lanes;
  for (std::int64_t y = area.top; y < area.bottom; ++y) {
    lanes.add(plane.row(y) + area.left, width);
  }
  for (int level = 0; level < kSampleLevels; ++level) {
    histogram[level] += lanes.countOf(level);
  }
}

namespace {

Rect clipFarEdges(const Rect& rect, const TLUX_IMAGE& image) {
  return {rect.left, rect.top, std::min<std::int64_t>(rect.right, image.width),
          std::min<std::int64_t>(rect.bottom, image.height)};
}

void countsToTable(std::int32_t pixels, std::uint32_t* histogram) {
  std::uint32_t running = 0;
  for (int level = 0; level < kSampleLevels; ++level) {
    running += histogram[level];
    const double share = static_cast<double>(running) / static_cast<double>(pixels);
    histogram[level] = static_cast<std::uint32_t>(saturatingTrunc<std::int32_t>(share * 255.0));
  }
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

void CalHistogram(const TLUX_IMAGE* image, uint32_t* histogram, const TLUX_RECT* rect) noexcept {
  if (image == nullptr || image->plane[0] == nullptr || histogram == nullptr) return;
  addToHistogram(lumaOf(*image), rectOrWhole(rect, *image), histogram);
}

void HistogramMap(const TLUX_IMAGE* image, uint32_t* histogram, const TLUX_RECT* rect) noexcept {
  if (image == nullptr || image->plane[0] == nullptr || histogram == nullptr) return;
  const Rect area = clipFarEdges(rectOrWhole(rect, *image), *image);
  addToHistogram(lumaOf(*image), area, histogram);
  const int32_t pixels =
      wrappingMul(static_cast<int32_t>(area.width()), static_cast<int32_t>(area.height()));
  countsToTable(pixels, histogram);
}

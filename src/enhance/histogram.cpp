#include "enhance/histogram.hpp"

#include <algorithm>

#include "base/fixed_point.hpp"
#include "tlux/equalization.h"

namespace tlux::detail {

void addToHistogram(const Plane<const std::uint8_t>& plane, const Area& area,
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

TLUX_RECT rectOrWhole(const TLUX_IMAGE& image, const TLUX_RECT* rect) {
  return rect != nullptr ? *rect : TLUX_RECT{0, 0, image.width, image.height};
}

void addRect(const TLUX_IMAGE& image, const TLUX_RECT& rect, std::uint32_t* histogram) {
  addToHistogram(lumaOf(image), {rect.left, rect.top, rect.right, rect.bottom}, histogram);
}

TLUX_RECT clipFarEdges(const TLUX_RECT& rect, const TLUX_IMAGE& image) {
  return {rect.left, rect.top, std::min(rect.right, image.width),
          std::min(rect.bottom, image.height)};
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
  addRect(*image, rectOrWhole(*image, rect), histogram);
}

void HistogramMap(const TLUX_IMAGE* image, uint32_t* histogram, const TLUX_RECT* rect) noexcept {
  if (image == nullptr || image->plane[0] == nullptr || histogram == nullptr) return;
  const TLUX_RECT area = clipFarEdges(rectOrWhole(*image, rect), *image);
  addRect(*image, area, histogram);
  const int32_t pixels =
      wrappingMul(wrappingSub(area.right, area.left), wrappingSub(area.bottom, area.top));
  countsToTable(pixels, histogram);
}

#include "score/mean.hpp"

#include <algorithm>

#include "base/multiversion.hpp"
#include "tlux/statistics.h"

namespace tlux::detail {

TLUX_MULTIVERSION std::int32_t sumOf(const std::int16_t* row, std::ptrdiff_t width) {
  std::uint32_t sum = 0;
  for (std::ptrdiff_t x = 0; x < width; ++x) {
    sum += static_cast<std::uint32_t>(row[x]);
  }
  return static_cast<std::int32_t>(sum);
}

namespace {

// In the width of the samples, to use as many lanes as possible.
struct SampleRange {
  std::int16_t minimum;
  std::int16_t maximum;
};

TLUX_MULTIVERSION SampleRange widened(SampleRange range, const std::int16_t* row,
                                      std::ptrdiff_t width) {
  for (std::ptrdiff_t x = 0; x < width; ++x) {
    range.minimum = std::min(range.minimum, row[x]);
    range.maximum = std::max(range.maximum, row[x]);
  }
  return range;
}

} // namespace

std::int32_t meanOf(Plane<const std::int16_t> plane) {
  return meanOfRowMeans(plane.width, plane.height,
                        [&](std::int32_t y) { return sumOf(plane.row(y), plane.width); });
}

MeanAndRange meanAndRangeOf(Plane<const std::int16_t> plane) {
  if (plane.width <= 0 || plane.height <= 0) return {0, 2000000000, -2000000000};
  SampleRange range{plane.row(0)[0], plane.row(0)[0]};
  for (std::int32_t y = 0; y < plane.height; ++y) {
    range = widened(range, plane.row(y), plane.width);
  }
  return {meanOf(plane), range.minimum, range.maximum};
}

} // namespace tlux::detail

using namespace tlux::detail;

int32_t AME_ImageMean(const int16_t* samples, int32_t width, int32_t height, uint32_t* minimum,
                      uint32_t* maximum) noexcept {
  const auto plane = packedPlane(samples, width, samples == nullptr ? 0 : height);
  const MeanAndRange result = meanAndRangeOf(plane);
  if (minimum != nullptr) *minimum = static_cast<uint32_t>(result.minimum);
  if (maximum != nullptr) *maximum = static_cast<uint32_t>(result.maximum);
  return result.mean;
}

int32_t AME_ImageMeanNoMax(const int16_t* samples, int32_t width, int32_t height) noexcept {
  return meanOf(packedPlane(samples, width, samples == nullptr ? 0 : height));
}

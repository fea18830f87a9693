// The fast guided filter (windows of 2r × 2r, edges repeated): coefficients of bands.
#include "guided_upsampling/band_coefficients.hpp"

#include <cstddef>

#include "base/multiversion.hpp"
#include "base/result.hpp"
#include "guided_upsampling/block_mean.hpp"
#include "guided_upsampling/guide_block.hpp"

namespace tlux::detail {
namespace {

// Whether all values are within −largest − 1 … largest, which is 2^n − 1: above n bits all have
// nothing but their sign. SSE2 has no minimum of 32 bits.
TLUX_MULTIVERSION bool isWithin(const std::int32_t* values, std::ptrdiff_t count,
                                std::int32_t largest) {
  std::int32_t bits = 0;
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    bits |= values[i] ^ (values[i] >> 31);
  }
  return bits <= largest;
}

bool isShort(const GuidedBand& band) {
  const Band rows = band.rows();
  const std::ptrdiff_t width = band.frame.width();
  const std::ptrdiff_t first = rows.first * width;
  const std::ptrdiff_t count = (rows.end - rows.first) * width;
  return isWithin(band.maps.smoothA + first, count, kLargestShortA) &&
         isWithin(band.maps.smoothB + first, count, kLargestShortB);
}

} // namespace

Coefficients computeCoefficients(const GuidedBand& band) {
  const GuidedFrame& frame = band.frame;
  const CoefficientPlanes& maps = band.maps;
  const Band rows = band.rows();
  const SmoothedBand smoothed = {band.firstRow, band.rowCount, rows};
  const auto smooth = [&](const std::int32_t* raw, std::int32_t* out) {
    return smoothBand(band.manager, smoothed, packedPlane(raw, frame.width(), frame.height()), out,
                      frame.radius);
  };
  const Result solved = guideBlock(band.manager, rows, frame.input, frame.guide, maps.rawA,
                                   maps.rawB, frame.radius, frame.regularisation);
  if (solved != Result::kOk || smooth(maps.rawA, maps.smoothA) != Result::kOk ||
      smooth(maps.rawB, maps.smoothB) != Result::kOk) {
    return Coefficients::kNone;
  }
  return isShort(band) ? smallCoefficients(frame.width()) : Coefficients::kLong;
}

FilteredBands splitIntoBands(const GuidedFrame& frame, const CoefficientPlanes& maps,
                             std::span<const MMemMgr> pools) {
  const std::int32_t rows = bandHeight(frame.height());
  FilteredBands result;
  for (std::size_t i = 0; i < kBandCount; ++i) {
    result.bands[i] = {frame, maps, pools[i], static_cast<std::int32_t>(i) * rows, rows};
  }
  return result;
}

} // namespace tlux::detail

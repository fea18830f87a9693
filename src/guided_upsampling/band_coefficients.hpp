// The fast guided filter (windows of 2r × 2r, edges repeated), second step: coefficients of bands.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/bands.hpp"
#include "guided_upsampling/guided_frame.hpp"
#include "guided_upsampling/row_group.hpp"

namespace tlux::detail {

// The range of a band's smoothed coefficients.
enum class Coefficients {
  kNone,  // they could not be computed
  kShort, // they fit ShortGroups
  kLong,
};

Coefficients computeCoefficients(const GuidedBand& band);

// For coefficients within the magnitudes that ShortGroups supports.
constexpr Coefficients smallCoefficients(std::int32_t lowWidth) {
  return lowWidth < kFewestShortCells ? Coefficients::kLong : Coefficients::kShort;
}

// The bands of a frame and their results.
struct FilteredBands {
  std::array<GuidedBand, kBandCount> bands{};
  std::array<Coefficients, kBandCount> coefficients{};
  int count = kBandCount; // bands that are filtered
};

// Four bands of equal height, each with a pool of its own.
FilteredBands splitIntoBands(const GuidedFrame& frame, const CoefficientPlanes& maps,
                             std::span<const MMemMgr> pools);

} // namespace tlux::detail

#include <cstdint>

#include "base/fixed_point.hpp"
#include "tlux/selection.h"

namespace tlux::detail {
namespace {

constexpr double kMaxRatio = 16.0; // 4 EV
constexpr double kMaxEv = 4.0;
constexpr int kHistogramBins = 4096;

// The target level of the bright end: 87.5 % of the 8 · 4096 steps of full scale.
constexpr double kBrightTarget = 28665.0;
constexpr double kStepsPerLevel = 8.0;
constexpr std::int64_t kBrightShare = 200; // one pixel in 200, 0.5 %

constexpr double kStepsPerEv = 20.0;
constexpr double kEvStep = 0.05;

// EV of a ratio in [1, 16].
double evOfMagnitude(double ratio) {
  int octave = 0;
  while (octave < 3 && ratio >= 2.0) {
    ratio /= 2.0; // exact
    ++octave;
  }
  return octave + AME_EV_KERNEL[saturatingTrunc<std::uint8_t>((ratio - 1.0) * 255.0 + 0.5)];
}

double evOfRatio(double ratio) {
  if (ratio < 1.0 / kMaxRatio) return -evOfMagnitude(kMaxRatio);
  if (ratio > kMaxRatio) return evOfMagnitude(kMaxRatio);
  return ratio < 1.0 ? -evOfMagnitude(1.0 / ratio) : evOfMagnitude(ratio);
}

// The lowest level of the brightest pixels that together reach `share`; 0 if all pixels together do
// not.
int brightLevel(const std::uint64_t* histogram, std::int64_t share) {
  std::uint64_t sum = 0;
  for (int level = kHistogramBins - 1; level > 0; --level) {
    sum += histogram[level];
    if (share <= 0 || sum >= static_cast<std::uint64_t>(share)) return level;
  }
  return 0;
}

double exposureOfBrightEnd(const std::uint64_t* histogram, std::int64_t width,
                           std::int64_t height) {
  const auto pixels = static_cast<std::int64_t>(static_cast<std::uint64_t>(width) *
                                                static_cast<std::uint64_t>(height));
  const int level = brightLevel(histogram, pixels / kBrightShare);
  const double ev = evOfRatio(kBrightTarget / ((level + 1) * kStepsPerLevel));
  return saturatingTrunc<std::int32_t>(ev * kStepsPerEv + 0.5) * kEvStep;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

double AME_ConvertExposureValue(double ratio) noexcept {
  return evOfRatio(ratio);
}

uint32_t AME_CalExposureByMaxvalue(const uint64_t* histogram, double* exposure, int64_t width,
                                   int64_t height) noexcept {
  if (histogram == nullptr || exposure == nullptr) return TLUX_ERR_INVALID_PARAM;
  *exposure = exposureOfBrightEnd(histogram, width, height);
  return TLUX_OK;
}

uint32_t AME_CalMinMaxExposure(const double* values, int64_t count, double* minimum,
                               double* maximum) noexcept {
  if (minimum == nullptr || maximum == nullptr) return TLUX_ERR_INVALID_PARAM;
  if (values == nullptr && count > 0) return TLUX_ERR_INVALID_PARAM;
  double low = kMaxEv;
  double high = -kMaxEv;
  for (int64_t i = 0; i < count; ++i) {
    low = values[i] < low ? values[i] : low;
    high = values[i] > high ? values[i] : high;
  }
  *minimum = low;
  *maximum = high;
  return TLUX_OK;
}

int32_t myCompare(const void* first, const void* second) noexcept {
  return static_cast<int32_t>(*static_cast<const uint32_t*>(first) -
                              *static_cast<const uint32_t*>(second));
}

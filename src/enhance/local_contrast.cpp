#include <algorithm>
#include <cmath>

#include "base/multiversion.hpp"
#include "base/plane_checks.hpp"
#include "base/result.hpp"
#include "filter/local_moments.hpp"
#include "tlux/detail.h"

// Contrast about the local mean: a gain moves every pixel away from or towards the mean of its
// window.
namespace tlux::detail {
namespace {

constexpr std::int32_t kLargestGain = 16384; // Q10
constexpr std::int32_t kLargestDeviation = 127;

std::uint8_t roundToByte(double value) {
  return static_cast<std::uint8_t>(static_cast<std::int32_t>(std::clamp(value + 0.5, 0.0, 255.0)));
}

double fromQ10(std::int32_t gain) {
  return gain / 1024.0;
}

TLUX_OUT_OF_LINE void applyGain(const std::uint8_t* __restrict samples,
                                const double* __restrict means, double gain, std::int32_t width,
                                std::uint8_t* __restrict out) {
  for (std::int32_t x = 0; x < width; ++x) {
    out[x] = roundToByte(means[x] + gain * (samples[x] - means[x]));
  }
}

// gain = deviation / σ, between 1 and the largest gain.
TLUX_OUT_OF_LINE void applyAdaptiveGain(const std::uint8_t* __restrict samples,
                                        const double* __restrict means,
                                        const double* __restrict meanSquares, double deviation,
                                        double largestGain, std::int32_t width,
                                        std::uint8_t* __restrict out) {
  const double smallest = deviation / largestGain;
  for (std::int32_t x = 0; x < width; ++x) {
    const double sigma = std::sqrt(varianceOf(means[x], meanSquares[x]));
    const double gain = deviation / std::clamp(sigma, smallest, deviation);
    out[x] = roundToByte(means[x] + gain * (samples[x] - means[x]));
  }
}

// Does the checks common to the filters and calls writeRow(row, out) for all rows.
template <int Moments, class WriteRow>
Result enhance(MMemMgr manager, Plane<const std::uint8_t> in, Plane<std::uint8_t> out,
               std::int32_t radius, WriteRow writeRow) {
  if (!isPlane(in) || !isPlane(out) || radius < 0) return Result::kInvalidParam;
  if (isEmpty(in.width, in.height)) return Result::kOk;
  const auto visit = [&](std::int32_t y, const MomentRow<Moments>& row) {
    writeRow(row, out.row(y));
  };
  return forMomentsOfRows<Moments>(manager, in, radius, visit);
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t LeeFilterEnhancement(MMemMgr manager, const uint8_t* input, int32_t inputPitch,
                              uint8_t* output, int32_t outputPitch, int32_t width, int32_t height,
                              int32_t radius, int32_t gain) noexcept {
  if (gain < 0 || gain > kLargestGain) return TLUX_ERR_INVALID_PARAM;
  return codeOf(enhance<1>(manager, {input, width, height, inputPitch},
                           {output, width, height, outputPitch}, radius,
                           [=](const MomentRow<1>& row, uint8_t* out) {
                             applyGain(row.samples, row.means, fromQ10(gain), width, out);
                           }));
}

uint32_t ImgEnhancement(MMemMgr manager, const uint8_t* input, int32_t inputPitch, uint8_t* output,
                        int32_t outputPitch, int32_t width, int32_t height, int32_t radius,
                        int32_t deviation, int32_t largestGain) noexcept {
  if (deviation < 1 || deviation > kLargestDeviation || largestGain < 1024 ||
      largestGain > kLargestGain) {
    return TLUX_ERR_INVALID_PARAM;
  }
  return codeOf(enhance<2>(manager, {input, width, height, inputPitch},
                           {output, width, height, outputPitch}, radius,
                           [=](const MomentRow<2>& row, uint8_t* out) {
                             applyAdaptiveGain(row.samples, row.means, row.meanSquares, deviation,
                                               fromQ10(largestGain), width, out);
                           }));
}

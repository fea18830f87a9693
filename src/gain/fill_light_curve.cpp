#include "gain/fill_light_curve.hpp"

#include <algorithm>
#include <cmath>

#include "base/fixed_point.hpp"
#include "tlux/gain_lines.h"

namespace tlux::detail {
namespace {

constexpr int kEntries = 65536;
constexpr double kLargestGain = 65535;

} // namespace

void fillLightCurve(std::uint16_t* curve, std::int64_t strength, std::int64_t unity) {
  curve[0] = static_cast<std::uint16_t>(unity);
  const double x = static_cast<double>(std::max<std::int64_t>(strength, 0)) * 1.33 * 0.02;
  if (x == 0) {
    std::fill(curve + 1, curve + kEntries, curve[0]);
    return;
  }
  const auto one = static_cast<double>(unity);
  const double slope = 1 / (std::pow(x + 0.0625, 0.25) * 1024);
  const auto toGain = [](double gain) {
    return saturatingTrunc<std::int32_t>(std::min(gain, kLargestGain));
  };
  const std::int32_t cap = toGain(std::exp(x) * one);

  // The curve is monotone and flattens out: after the first gain that reaches the cap the pair is
  // constant, which saves most of the 32767 evaluations.
  int k = 0;
  std::int32_t up = 0;
  do {
    ++k;
    const double gain = std::exp(std::tanh(k * slope) * x);
    up = toGain(one * gain + 0.5);
    curve[k] = static_cast<std::uint16_t>(up);
    curve[kEntries - k] =
        static_cast<std::uint16_t>(saturatingTrunc<std::int32_t>(one / gain + 0.5));
  } while (up < cap && k < kEntries / 2 - 1);
  std::fill(curve + k + 1, curve + kEntries / 2, curve[k]);
  std::fill(curve + kEntries / 2 + 1, curve + kEntries - k, curve[kEntries - k]);
}

} // namespace tlux::detail

using namespace tlux::detail;

void AME_GenerateFillLighrGainLUT(uint16_t* curve, int64_t strength, int64_t unity) noexcept {
  if (curve == nullptr) return;
  fillLightCurve(curve, strength, unity);
}

#pragma once

#include "resize/interpolate.hpp"
#include "tlux/resize.h"

namespace tlux::detail {

inline constexpr int kCubicPhases = TLUX_CUBIC_PHASES;

// Weights of the four taps around a position, Q14, for positions t = phase / kCubicPhases of the
// way from the second to the third tap. Keys' kernel with its free parameter a in 1/256.
constexpr std::array<std::int16_t, 4> cubicWeights(int phase, int a) {
  constexpr std::int64_t kOne = kCubicPhases; // of t
  constexpr std::int64_t kCube = kOne * kOne * kOne;
  constexpr std::int64_t kUnit = 256 * kCube / 16384; // of a Q14 weight, in units of 1/(256·kCube)
  const auto rounded = [](std::int64_t weight) {
    const std::int64_t half = weight < 0 ? -kUnit / 2 : kUnit / 2;
    return static_cast<std::int16_t>((weight + half) / kUnit);
  };
  // a·t³ - 2a·t² + a·t at distance 1 + t, (a + 2)·t³ - (a + 3)·t² + 1 at distance t.
  const auto outer = [&](std::int64_t t) {
    return rounded(a * (t * t * t - 2 * kOne * t * t + kOne * kOne * t));
  };
  const auto inner = [&](std::int64_t t) {
    return rounded((a + 512) * t * t * t - (a + 768) * kOne * t * t + 256 * kCube);
  };
  std::array<std::int16_t, 4> weights = {outer(phase), inner(phase), inner(kOne - phase),
                                         outer(kOne - phase)};
  // The weights sum to exactly 1, so flat input stays flat: the largest weight takes the remainder.
  const int rest = 16384 - weights[0] - weights[1] - weights[2] - weights[3];
  std::int16_t& largest = weights[2 * phase < kOne ? 1 : 2];
  largest = static_cast<std::int16_t>(largest + rest);
  return weights;
}

// Bicubic interpolation at positions rounded to 1/kCubicPhases. Output sample i lies at
// (i + 1/2)·input / output - 1/2. Sums wrap, which happens only with weights from a foreign table.
class Cubic {
 public:
  static constexpr int kTaps = 4;
  static constexpr int kWeights = 4;
  using Weight = std::int16_t; // Q14
  using Row = std::int16_t;    // Q6; with Keys' kernel at most 1.5 · 255 · 64 in magnitude

  Cubic(std::int64_t inputs, std::int64_t outputs, const std::int16_t* table)
      : inputs_(inputs), outputs_(outputs), table_(table) {}

  TapPoint<Cubic> at(std::int64_t i) const {
    // The position in units of 1 / (2·outputs), shifted by one input sample to keep it
    // non-negative.
    const std::int64_t unit = 2 * outputs_;
    const std::int64_t position = (2 * i + 1) * inputs_ + outputs_;
    const std::int64_t phase = (position % unit * kCubicPhases + outputs_) / unit;
    const std::int64_t second = position / unit - 1 + phase / kCubicPhases;
    TapPoint<Cubic> point{second - 1, {}};
    std::copy_n(table_ + phase % kCubicPhases * kWeights, kWeights, point.weights.begin());
    return point;
  }

  static void alongX(const std::uint8_t* taps, const WeightLines<Cubic>& weights,
                     std::ptrdiff_t count, Row* out);
  static void alongY(const RowsBelow<Cubic>& rows, const Weights<Cubic>& weights,
                     std::ptrdiff_t count, std::uint8_t* out);

 private:
  std::int64_t inputs_;
  std::int64_t outputs_;
  const std::int16_t* table_;
};

} // namespace tlux::detail

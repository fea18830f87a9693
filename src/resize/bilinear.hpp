#pragma once

#include "resize/interpolate.hpp"

namespace tlux::detail {

// Truncated Q8: output sample i lies at i·floor(256·input / output) / 256.
class CornerAligned {
 public:
  static constexpr int kTaps = 2;
  static constexpr int kWeights = 1;
  using Weight = std::uint16_t;
  using Row = std::uint16_t; // Q8

  CornerAligned(std::int64_t inputs, std::int64_t outputs) : step_((inputs << 8) / outputs) {}

  TapPoint<CornerAligned> at(std::int64_t i) const {
    const std::int64_t position = i * step_;
    return {position >> 8, {static_cast<Weight>(position & 255)}};
  }

  static void alongX(const std::uint8_t* taps, const WeightLines<CornerAligned>& weights,
                     std::ptrdiff_t count, Row* out);
  static void alongY(const RowsBelow<CornerAligned>& rows, const Weights<CornerAligned>& weights,
                     std::ptrdiff_t count, std::uint8_t* out);

 private:
  std::int64_t step_;
};

// Output sample i lies at (i + 1/2)·input / output - 1/2, so the centres of the images coincide.
//
// The value w of the way from m to n is (m + n) / 2 + (n - m)·(w - 1/2): with w - 1/2 as a signed
// 16-bit fraction, the product is the upper half of a 16-bit multiplication. The truncations along
// both axes lose at most 2.5 of 1/128; half of that is added before rounding. Equal sizes give a
// copy, flat input flat output.
class CentreAligned {
 public:
  static constexpr int kTaps = 2;
  static constexpr int kWeights = 1;
  using Weight = std::int16_t; // (w - 1/2) · 2^16
  using Row = std::int16_t;    // Q7, 0 to 32640

  CentreAligned(std::int64_t inputs, std::int64_t outputs) : inputs_(inputs), outputs_(outputs) {}

  TapPoint<CentreAligned> at(std::int64_t i) const {
    // The position in units of 1 / (2·outputs). Sizes have 31 bits, so this has 63.
    const std::int64_t unit = 2 * outputs_;
    const std::int64_t position = std::max((2 * i + 1) * inputs_ - outputs_, std::int64_t{0});
    const std::int64_t fraction = ((position % unit) << 16) / unit;
    return {position / unit, {static_cast<Weight>(fraction - 32768)}};
  }

  static void alongX(const std::uint8_t* taps, const WeightLines<CentreAligned>& weights,
                     std::ptrdiff_t count, Row* out);
  static void alongY(const RowsBelow<CentreAligned>& rows, const Weights<CentreAligned>& weights,
                     std::ptrdiff_t count, std::uint8_t* out);

 private:
  std::int64_t inputs_;
  std::int64_t outputs_;
};

} // namespace tlux::detail

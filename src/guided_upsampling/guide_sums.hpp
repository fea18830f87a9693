// The fast guided filter (windows of 2r × 2r, edges repeated): sums that coefficients are made of.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/plane.hpp"
#include "guided_upsampling/window_sums.hpp"

namespace tlux::detail {

// Sums of I, p, I² and I·p over the window, I being the guide and p the input.
template <class Sample, class Sum>
struct GuideRow {
  const Sample* input;
  const Sample* guide;

  std::array<Sum, 4> operator()(std::ptrdiff_t x) const {
    const auto i = static_cast<Sum>(guide[x]);
    const auto p = static_cast<Sum>(input[x]);
    return {i, p, i * i, i * p};
  }
};

template <class Sample, class Sum>
struct GuideRows {
  Plane<const Sample> input;
  Plane<const Sample> guide;

  GuideRow<Sample, Sum> operator()(std::int32_t y) const { return {input.row(y), guide.row(y)}; }
};

template <class Sample, class Sum>
using GuideSums = WindowSums<Sum, 4, GuideRows<Sample, Sum>>;

} // namespace tlux::detail

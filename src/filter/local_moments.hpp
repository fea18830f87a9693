#pragma once

#include <algorithm>
#include <cstdint>

#include "base/plane.hpp"
#include "base/result.hpp"
#include "filter/row_differences.hpp"
#include "filter/window_means.hpp"
#include "platform/scratch.hpp"

namespace tlux::detail {

// Clamped to 0, since rounding could make it negative.
inline double varianceOf(double mean, double meanSquare) {
  return std::max(meanSquare - mean * mean, 0.0);
}

// Statistics of the windows around the pixels of a row.
template <int Moments>
struct MomentRow {
  const std::uint8_t* samples;
  const double* means;
  const double* meanSquares; // null for one moment
};

// Calls visit(y, MomentRow) for the rows of a plane from the top, with the mean of the samples (and
// of their squares, for two moments) in windows of the given radius, cut off at the edges. A row of
// the plane is read once, before it or any row below it is visited, so the visitor may overwrite
// the row it is given. Returns false without a visit when memory runs out.
template <int Moments, class Visit>
Result forMomentsOfRows(MMemMgr manager, Plane<const std::uint8_t> plane, std::int32_t radius,
                        Visit visit) {
  using Means = WindowMeans<Moments, double>;
  const Windows windows(plane.width, plane.height, radius);
  const std::int32_t width = plane.width;
  // The rows of the window and the entering row, followed by a row of zeros for rows outside.
  const std::int32_t keptRows = std::min(2 * windows.radiusY + 2, plane.height);
  const Scratch<double> sums(manager, Means::doublesNeeded(windows));
  const Scratch<std::uint8_t> kept(manager, (std::int64_t{keptRows} + 1) * width);
  if (!sums || !kept) return Result::kNoMemory;

  std::uint8_t* zeros = kept.get() + std::int64_t{keptRows} * width;
  std::fill_n(zeros, width, std::uint8_t{0});
  const auto keptRow = [&](std::int32_t y) {
    return kept.get() + std::int64_t{y % keptRows} * width;
  };
  const auto differences = [&](std::int32_t entering, std::int32_t leaving) {
    const std::uint8_t* in = zeros;
    if (entering != kOutside) {
      in = std::copy_n(plane.row(entering), width, keptRow(entering)) - width;
    }
    const std::uint8_t* out = leaving != kOutside ? keptRow(leaving) : zeros;
    return [=](int moment, double* result) {
      if (moment == 0) {
        subtract(in, out, width, result);
      } else {
        subtractProducts(in, in, out, out, width, result);
      }
    };
  };
  Means means(windows, sums.get());
  means.startAt(0, differences);
  for (std::int32_t y = 0; y < plane.height; ++y) {
    visit(y,
          MomentRow<Moments>{keptRow(y), means.means(0), Moments > 1 ? means.means(1) : nullptr});
    means.advance(differences);
  }
  return Result::kOk;
}

} // namespace tlux::detail

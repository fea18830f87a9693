#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "base/fixed_point.hpp"
#include "base/plane.hpp"
#include "platform/team.hpp"

namespace tlux::detail {

// Mean of the row means of a non-empty plane. Several threads may add rows in any order. Both
// divisions truncate toward zero.
class RowMeans {
 public:
  RowMeans(std::int32_t width, std::int32_t height) : width_(width), height_(height) {}

  // rowSum(y) returns the wrapping 32-bit sum of row y. Passes that change every sample pass the
  // sum of what they wrote.
  template <class RowSum>
  void add(Band rows, RowSum&& rowSum) {
    std::int32_t part = 0;
    for (std::int32_t y = rows.first; y < rows.end; ++y) {
      part = wrappingAdd(part, rowSum(y) / width_);
    }
    total_.fetch_add(static_cast<std::uint32_t>(part), std::memory_order_relaxed);
  }
  // Of all rows.
  std::int32_t mean() const { return static_cast<std::int32_t>(total_.load()) / height_; }

 private:
  std::int32_t width_;
  std::int32_t height_;
  std::atomic<std::uint32_t> total_{0}; // wraps
};

// The same, with rows shared by a team or, if null, summed by the caller; 0 for an empty plane.
template <class RowSum>
std::int32_t meanOfRowMeans(std::int32_t width, std::int32_t height, RowSum&& rowSum,
                            Team* team = nullptr) {
  if (width <= 0 || height <= 0) return 0;
  constexpr std::int32_t kPartRows = 8;
  RowMeans means(width, height);
  shareRows(team, height, kPartRows, [&](Band rows, int /*slot*/) { means.add(rows, rowSum); });
  return means.mean();
}

// Sum of a row, which wraps.
std::int32_t sumOf(const std::int16_t* row, std::ptrdiff_t width);

std::int32_t meanOf(Plane<const std::int16_t> plane);

struct MeanAndRange {
  std::int32_t mean;
  std::int32_t minimum; // 2000000000 when there is no sample
  std::int32_t maximum; // -2000000000 when there is no sample
};

MeanAndRange meanAndRangeOf(Plane<const std::int16_t> plane);

} // namespace tlux::detail

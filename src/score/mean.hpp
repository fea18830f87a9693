#pragma once

#include <atomic>
#include <cstdint>

#include "base/fixed_point.hpp"
#include "base/plane.hpp"
#include "platform/team.hpp"

namespace tlux::detail {

// Mean of the row means. rowSum(y) returns the wrapping 32-bit sum of row y; both divisions
// truncate toward zero. A pass that changes every sample returns the sum of what it wrote. With a
// team, rows are shared.
template <class RowSum>
std::int32_t meanOfRowMeans(std::int32_t width, std::int32_t height, RowSum&& rowSum,
                            Team* team = nullptr) {
  if (width <= 0 || height <= 0) return 0;
  constexpr std::int32_t kPartRows = 16;
  std::atomic<std::uint32_t> total{0}; // wraps
  shareRows(team, height, kPartRows, [&](Band rows, int /*slot*/) {
    std::int32_t part = 0;
    for (std::int32_t y = rows.first; y < rows.end; ++y) {
      part = wrappingAdd(part, rowSum(y) / width);
    }
    total.fetch_add(static_cast<std::uint32_t>(part), std::memory_order_relaxed);
  });
  return static_cast<std::int32_t>(total.load()) / height;
}

std::int32_t meanOf(Plane<const std::int16_t> plane);

struct MeanAndRange {
  std::int32_t mean;
  std::int32_t minimum; // 2000000000 when there is no sample
  std::int32_t maximum; // -2000000000 when there is no sample
};

MeanAndRange meanAndRangeOf(Plane<const std::int16_t> plane);

} // namespace tlux::detail

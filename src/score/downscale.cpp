#include "score/downscale.hpp"

#include <algorithm>
#include <atomic>

#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"
#include "tlux/statistics.h"

namespace tlux::detail {
namespace {

// Returns the sum of the outputs as a signed number that wraps in 32 bits: log planes are
// re-centred, so means can be negative.
TLUX_MULTIVERSION std::int32_t halveRows(const std::int16_t* __restrict upper,
                                         const std::int16_t* __restrict lower, std::ptrdiff_t count,
                                         std::int16_t* __restrict output) {
  std::uint32_t sum = 0;
  for (std::ptrdiff_t x = 0; x < count; ++x) {
    const int four = (upper[2 * x] + lower[2 * x]) + (upper[2 * x + 1] + lower[2 * x + 1]);
    const int mean = four >> 2;
    output[x] = static_cast<std::int16_t>(mean);
    sum += static_cast<std::uint32_t>(mean);
  }
  return static_cast<std::int32_t>(sum);
}

} // namespace

double downscale2x2(Plane<const std::int16_t> source, Plane<std::int16_t> destination, Team* team) {
  const std::int32_t count = std::min(source.width / 2, destination.width);
  const bool hasExtra = destination.width > count;
  // The extra column takes the last source column and the one before it.
  const std::int32_t right = std::min(2 * count, source.width - 1);
  const std::int32_t left = std::max(2 * count - 1, 0);

  const auto makeRow = [&](std::int32_t y) {
    const std::int64_t y0 = std::min(std::int64_t{2} * y, std::int64_t{source.height} - 1);
    const std::int64_t y1 = std::min(y0 + 1, std::int64_t{source.height} - 1);
    const std::int16_t* upper = source.row(y0);
    const std::int16_t* lower = source.row(y1);
    std::int16_t* output = destination.row(y);
    std::int32_t sum = halveRows(upper, lower, count, output);
    if (hasExtra) {
      const int mean = (upper[left] + upper[right] + lower[right] + lower[left]) >> 2;
      output[count] = static_cast<std::int16_t>(mean);
      sum = wrappingAdd(sum, mean);
    }
    return sum;
  };
  constexpr std::int32_t kPartRows = 16;
  std::atomic<std::int64_t> total{0};
  shareRows(team, destination.height, kPartRows, [&](Band rows, int /*slot*/) {
    std::int64_t part = 0;
    for (std::int32_t y = rows.first; y < rows.end; ++y) {
      part += makeRow(y);
    }
    total.fetch_add(part, std::memory_order_relaxed);
  });
  const double columns = static_cast<double>(count) + (hasExtra ? 1 : 0);
  return static_cast<double>(total.load()) / (destination.height * columns);
}

} // namespace tlux::detail

using namespace tlux::detail;

void AME_Downscale2x2_lines(const int16_t* upper, const int16_t* lower, int32_t count,
                            int16_t* output, uint32_t* sum) noexcept {
  if (upper == nullptr || lower == nullptr || output == nullptr || sum == nullptr) return;
  *sum = static_cast<uint32_t>(halveRows(upper, lower, count, output));
}

void AME_Downscale2x2(const int16_t* source, int32_t sourceWidth, int32_t sourceHeight,
                      int16_t* destination, int32_t destinationWidth, int32_t destinationHeight,
                      double* mean) noexcept {
  if (source == nullptr || destination == nullptr) return;
  if (sourceWidth < 1 || sourceHeight < 1 || destinationWidth < 1 || destinationHeight < 1) return;
  if (sourceWidth / 2 > destinationWidth || sourceHeight / 2 > destinationHeight) return;
  const double result = downscale2x2(packedPlane(source, sourceWidth, sourceHeight),
                                     packedPlane(destination, destinationWidth, destinationHeight));
  if (mean != nullptr) *mean = result;
}

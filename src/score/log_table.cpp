#include "score/log_table.hpp"

#include <algorithm>

#include "base/multiversion.hpp"
#include "tlux/statistics.h"

namespace tlux::detail {
namespace {

// Returns the sum of the row.
TLUX_MULTIVERSION std::int32_t shiftRow(std::int16_t* row, std::ptrdiff_t width,
                                        std::uint16_t offset) {
  std::uint32_t sum = 0;
  for (std::ptrdiff_t x = 0; x < width; ++x) {
    row[x] = static_cast<std::int16_t>(static_cast<std::uint16_t>(row[x]) - offset);
    sum += static_cast<std::uint32_t>(row[x]);
  }
  return static_cast<std::int32_t>(sum);
}

} // namespace

std::int32_t shiftSamples(Plane<std::int16_t> plane, std::int32_t offset) {
  const auto low = static_cast<std::uint16_t>(offset);
  return meanOfRowMeans(plane.width, plane.height,
                        [&](std::int32_t y) { return shiftRow(plane.row(y), plane.width, low); });
}

} // namespace tlux::detail

using namespace tlux::detail;

int32_t AME_LogTable_mageMean(const int16_t* source, int16_t* destination, const uint32_t* table,
                              int32_t width, int32_t height) noexcept {
  if (source == nullptr || destination == nullptr || table == nullptr) return 0;
  return convertSamples(packedPlane(source, width, height), packedPlane(destination, width, height),
                        [table](int16_t v) { return table[v]; });
}

int32_t AME_LogTable_mageMean2(int16_t* plane, const uint16_t* table, int32_t width,
                               int32_t height) noexcept {
  if (plane == nullptr || table == nullptr) return 0;
  const auto samples = packedPlane(plane, width, height);
  return convertSamples(samples, samples,
                        [table](int16_t v) { return table[2 * (std::max<int>(v, 0) + 64)]; });
}

void AME_Adjust_meanLogLum(int16_t* plane, int32_t value, int32_t width, int32_t height) noexcept {
  if (plane == nullptr) return;
  shiftSamples(packedPlane(plane, width, height), value);
}

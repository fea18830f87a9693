#include <algorithm>
#include <cstdint>

#include "base/fixed_point.hpp"
#include "tlux/selection.h"

namespace tlux::detail {
namespace {

constexpr std::int64_t kMiddleIndex = 127;

std::int32_t toFixed16(double value) {
  return saturatingTrunc<std::int32_t>(value * 65536.0);
}

// EVs as steps around a middle one, in 16.16 fixed point.
struct Quantiser {
  std::int64_t middle;
  std::int64_t stepBelow;
  std::int64_t stepAbove;
  std::int64_t lastIndex;

  std::uint8_t indexOf(double value) const {
    const std::int64_t offset = toFixed16(value) - middle;
    if (offset >= 0) {
      const std::int64_t steps =
          stepAbove > 0 ? (2 * offset + stepAbove) / (2 * stepAbove) : std::int64_t{0};
      return static_cast<std::uint8_t>(std::min(kMiddleIndex + steps, lastIndex));
    }
    const std::int64_t steps =
        stepBelow > 0 ? (2 * offset - stepBelow) / (2 * stepBelow) : std::int64_t{0};
    return static_cast<std::uint8_t>(std::max(kMiddleIndex + steps, std::int64_t{0}));
  }
};

struct ExposureRange {
  double minimum;
  double middle;
  double maximum;

  double below() const { return middle - minimum; }
  double above() const { return maximum - middle; }
};

Quantiser makeQuantiser(const ExposureRange& range, std::int64_t levels, std::int64_t half) {
  const auto lastIndex = static_cast<std::int64_t>(static_cast<std::uint64_t>(levels) - 1);
  Quantiser quantiser{toFixed16(range.middle), 0, 0, lastIndex};
  if (half > 0) {
    quantiser.stepBelow = toFixed16(range.below() / static_cast<double>(half));
    quantiser.stepAbove = toFixed16(range.above() / static_cast<double>(half));
  }
  return quantiser;
}

void listLevels(const ExposureRange& range, std::int64_t half, double* table) {
  const auto steps = static_cast<double>(half);
  for (std::int64_t i = 1; i <= half; ++i) {
    const auto step = static_cast<double>(i);
    table[half - i] = range.middle - step * range.below() / steps;
    table[half + i] = range.middle + step * range.above() / steps;
  }
  table[half] = range.middle;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t AME_SelectExposure(const double* values, uint8_t* indices, int64_t count, int64_t levels,
                            double* levelTable, double minimum, double middle,
                            double maximum) noexcept {
  const bool hasValues = count < 1 || (values != nullptr && indices != nullptr);
  if (levelTable == nullptr || !hasValues) return TLUX_ERR_INVALID_PARAM;
  const ExposureRange range{minimum, middle, maximum};
  const int64_t half = std::max(levels / 2, int64_t{0});
  const Quantiser quantiser = makeQuantiser(range, levels, half);
  for (int64_t i = 0; i < count; ++i) {
    indices[i] = quantiser.indexOf(values[i]);
  }
  listLevels(range, half, levelTable);
  return TLUX_OK;
}

#include "stream/video_range.hpp"

#include <algorithm>

#include "base/multiversion.hpp"

namespace tlux::detail {
namespace {

constexpr std::int32_t kVideoSteps = kVideoWhite - kVideoBlack;

constexpr std::array<std::uint8_t, 256> makeFullRangeLuma() {
  std::array<std::uint8_t, 256> table{};
  for (std::int32_t code = 0; code < 256; ++code) {
    const std::int32_t above = std::clamp(code - kVideoBlack, 0, kVideoSteps);
    table[static_cast<std::size_t>(code)] =
        static_cast<std::uint8_t>((2 * 255 * above + kVideoSteps) / (2 * kVideoSteps));
  }
  return table;
}

} // namespace

constexpr std::array<std::uint8_t, 256> kFullRangeLuma = makeFullRangeLuma();

// With g = 16 + s · G, s = 219 / 255, for guide and output alike:
// 16 + s · (a · G + b) = a · g + s · b + 16 · (1 − a).
TLUX_MULTIVERSION void toVideoRange(const std::int32_t* __restrict a, std::int32_t* __restrict b,
                                    std::ptrdiff_t count) {
  constexpr std::int32_t kOne = 1024; // Q10
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const std::int64_t scaled = std::int64_t{b[i]} * kVideoSteps / 255;
    b[i] = static_cast<std::int32_t>(scaled + std::int64_t{kVideoBlack} * (kOne - a[i]));
  }
}

TLUX_MULTIVERSION void keepInRange(const std::uint8_t* __restrict before,
                                   std::uint8_t* __restrict after, std::ptrdiff_t count,
                                   std::uint8_t low, std::uint8_t high) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const std::uint8_t lowest = std::min(before[i], low);
    const std::uint8_t highest = std::max(before[i], high);
    after[i] = std::min(std::max(after[i], lowest), highest);
  }
}

} // namespace tlux::detail

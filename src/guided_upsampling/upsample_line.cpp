// The fast guided filter (windows of 2r × 2r, edges repeated): interpolation of coefficients.
#include "guided_upsampling/upsample_line.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "base/multiversion.hpp"
#include "tlux/fast_guided_filter.h"

namespace tlux::detail {
namespace {

template <int... kPhases>
TLUX_INLINED void upsamplePairs(const std::int32_t* __restrict lowRow,
                                std::int32_t* __restrict line, std::ptrdiff_t pairs,
                                std::integer_sequence<int, kPhases...> /*phases*/) {
  for (std::ptrdiff_t x = 0; x < pairs; ++x) {
    ((line[kUpsampling * x + kPhases] = mixEighths<kPhases>(lowRow[x], lowRow[x + 1])), ...);
  }
}

template <int kPhase>
void mixLines(const std::int32_t* __restrict upper, const std::int32_t* __restrict lower,
              std::int32_t* __restrict out, std::ptrdiff_t width) {
  for (std::ptrdiff_t x = 0; x < width; ++x) {
    out[x] = mixEighths<kPhase>(upper[x], lower[x]);
  }
}

template <int... kPhases>
constexpr auto mixers(std::integer_sequence<int, kPhases...> /*phases*/) {
  return std::array{&mixLines<kPhases>...};
}

constexpr std::make_integer_sequence<int, kUpsampling> kPhases;

} // namespace

TLUX_MULTIVERSION void upsampleRow(const std::int32_t* lowRow, std::int32_t* line,
                                   std::ptrdiff_t lowWidth) {
  if (lowWidth < 1) return;
  upsamplePairs(lowRow, line, lowWidth - 1, kPhases);
  std::fill_n(line + kUpsampling * (lowWidth - 1), kUpsampling, lowRow[lowWidth - 1]);
}

} // namespace tlux::detail

using namespace tlux::detail;

void UPSampleLine8Int(int32_t k, int32_t fullW, const int32_t* lowRow, int32_t* lines) noexcept {
  if (lowRow == nullptr || lines == nullptr || k < 0 || fullW < kUpsampling) return;
  const std::ptrdiff_t width = fullW;
  int32_t* const output = lines;
  int32_t* const lower = lines + width;
  int32_t* const upper = lines + 2 * width;
  const int phase = k % kUpsampling;
  if (k == 0) {
    upsampleRow(lowRow, output, width / kUpsampling);
    std::copy_n(output, width, upper);
  } else if (phase == 0) {
    std::copy_n(lower, width, output);
    std::copy_n(lower, width, upper);
  } else {
    if (phase == 1) upsampleRow(lowRow, lower, width / kUpsampling);
    constexpr auto kMixers = mixers(kPhases);
    kMixers[static_cast<std::size_t>(phase)](upper, lower, output, width);
  }
}

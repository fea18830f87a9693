// The fast guided filter (windows of 2r × 2r, edges repeated): rows of luma in 32 bits.
#include "guided_upsampling/coefficient_lines.hpp"

#include <algorithm>
#include <cstring>

#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"

namespace tlux::detail {
namespace {

// Results go through a short buffer, since the output may be the guide and compilers could not
// vectorise otherwise.
constexpr std::ptrdiff_t kBlock = 256;

template <int kPhase>
TLUX_INLINED void applyPhase(const CoefficientLines& lines, std::ptrdiff_t begin,
                             std::ptrdiff_t width, const std::uint8_t* guide, std::uint8_t* out) {
  const std::int32_t* __restrict upperA = lines.upperA + begin;
  const std::int32_t* __restrict lowerA = lines.lowerA + begin;
  const std::int32_t* __restrict upperB = lines.upperB + begin;
  const std::int32_t* __restrict lowerB = lines.lowerB + begin;
  std::uint8_t block[kBlock];
  for (std::ptrdiff_t first = 0; first < width; first += kBlock) {
    const std::ptrdiff_t count = std::min(width - first, kBlock);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      const std::ptrdiff_t x = first + i;
      const std::int32_t a = mixEighths<kPhase>(upperA[x], lowerA[x]);
      const std::int32_t b = mixEighths<kPhase>(upperB[x], lowerB[x]);
      block[i] = clampToByte(wrappingAdd(b, wrappingMul(guide[x], a)) >> 10);
    }
    std::memcpy(out + first, block, static_cast<std::size_t>(count));
  }
}

template <int kPhase>
TLUX_INLINED void applyFromPhase(int phase, const CoefficientLines& lines, std::ptrdiff_t first,
                                 std::ptrdiff_t count, const std::uint8_t* guide,
                                 std::uint8_t* out) {
  if (phase == kPhase) {
    applyPhase<kPhase>(lines, first, count, guide, out);
  } else if constexpr (kPhase + 1 < kUpsampling) {
    applyFromPhase<kPhase + 1>(phase, lines, first, count, guide, out);
  }
}

} // namespace

TLUX_MULTIVERSION void applyCoefficients(int phase, const CoefficientLines& lines,
                                         std::ptrdiff_t first, std::ptrdiff_t count,
                                         const std::uint8_t* guide, std::uint8_t* out) {
  applyFromPhase<0>(phase, lines, first, count, guide, out);
}

} // namespace tlux::detail

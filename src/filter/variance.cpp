#include "base/multiversion.hpp"
#include "base/plane_checks.hpp"
#include "filter/local_moments.hpp"
#include "tlux/smoothing.h"

namespace tlux::detail {
namespace {

TLUX_OUT_OF_LINE void roundVariances(const double* __restrict means,
                                     const double* __restrict meanSquares, std::int32_t width,
                                     std::uint16_t* __restrict out) {
  for (std::int32_t x = 0; x < width; ++x) {
    const double rounded = varianceOf(means[x], meanSquares[x]) + 0.5; // at most 16256.75
    out[x] = static_cast<std::uint16_t>(static_cast<std::int32_t>(rounded));
  }
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_CalculateVairance(MMemMgr manager, const uint8_t* input, int32_t inputPitch,
                                uint16_t* variance, int32_t variancePitch, int32_t width,
                                int32_t height, int32_t radius) noexcept {
  const Plane<const uint8_t> in{input, width, height, inputPitch};
  const Plane<uint16_t> out{variance, width, height, variancePitch};
  if (!isPlane(in) || !isPlane(out) || variancePitch % 2 != 0 || radius < 0) {
    return TLUX_ERR_INVALID_PARAM;
  }
  if (isEmpty(width, height)) return TLUX_OK;
  const auto writeRow = [&](int32_t y, const MomentRow<2>& row) {
    roundVariances(row.means, row.meanSquares, width, out.row(y));
  };
  return codeOf(forMomentsOfRows<2>(manager, in, radius, writeRow));
}

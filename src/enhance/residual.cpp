#include <algorithm>

#include "base/fixed_point.hpp"
#include "base/result.hpp"
#include "filter/guided_planes.hpp"
#include "platform/scratch.hpp"
#include "tlux/detail.h"

namespace tlux::detail {
namespace {

constexpr std::int32_t kLargestGain = 16384; // Q10

struct Coring {
  std::int32_t threshold;
  std::int32_t gain; // Q10

  bool isValid() const {
    return threshold >= 0 && threshold <= 255 && gain >= 0 && gain <= kLargestGain;
  }
};

// Adds the cored residual to the smoothed row, in place.
void addCoredResidual(const std::uint8_t* __restrict samples, const Coring& coring,
                      std::int32_t width, std::uint8_t* __restrict smoothed) {
  const auto [threshold, gain] = coring;
  for (std::int32_t x = 0; x < width; ++x) {
    const std::int32_t residual = samples[x] - smoothed[x];
    const std::int32_t size = std::max((residual < 0 ? -residual : residual) - threshold, 0);
    const std::int32_t change = (size * gain + 512) >> 10;
    smoothed[x] = clampToByte(smoothed[x] + (residual < 0 ? -change : change));
  }
}

Result filterResidual(MMemMgr manager, Plane<const std::uint8_t> in, Plane<std::uint8_t> out,
                      Smoothing smoothing, const Coring& coring) {
  if (!isPlane(in) || !isPlane(out) || !smoothing.isValid() || !coring.isValid()) {
    return Result::kInvalidParam;
  }
  if (isEmpty(in.width, in.height)) return Result::kOk;
  const Scratch<std::uint8_t> block(manager, std::int64_t{in.width} * in.height);
  if (!block) return Result::kNoMemory;
  const auto smoothed = packedPlane(block.get(), in.width, in.height);
  const Result result = filterGuided<PlaneModel<1, 1>>(manager, {in, in, smoothed}, smoothing);
  for (std::int32_t y = 0; y < in.height && result == Result::kOk; ++y) {
    addCoredResidual(in.row(y), coring, in.width, smoothed.row(y));
    std::copy_n(smoothed.row(y), in.width, out.row(y));
  }
  return result;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t ResFilter(MMemMgr manager, const uint8_t* input, int32_t inputPitch, uint8_t* output,
                   int32_t outputPitch, int32_t width, int32_t height, int32_t radius, int32_t eps,
                   int32_t threshold, int32_t gain) noexcept {
  return codeOf(filterResidual(manager, {input, width, height, inputPitch},
                               {output, width, height, outputPitch}, {radius, eps},
                               {threshold, gain}));
}

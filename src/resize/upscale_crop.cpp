#include <limits>

#include "base/plane.hpp"
#include "base/result.hpp"
#include "guided_upsampling/upsample_line.hpp"
#include "resize/resize_image.hpp"
#include "resize/resize_plane.hpp"
#include "tlux/upscale.h"

namespace tlux::detail {
namespace {

// Output sample i is sample `origin` + i of the eightfold enlargement in upsample_line.hpp: the
// same values, for bytes.
class EighthSteps {
 public:
  static constexpr int kTaps = 2;
  static constexpr int kWeights = 1;
  using Weight = std::uint16_t; // in eighths
  using Row = std::uint8_t;

  explicit EighthSteps(std::int64_t origin) : origin_(origin) {}

  TapPoint<EighthSteps> at(std::int64_t i) const {
    const std::int64_t position = origin_ + i;
    return {position / kUpsampling, {static_cast<Weight>(position % kUpsampling)}};
  }

  static void alongX(const std::uint8_t* __restrict taps, const WeightLines<EighthSteps>& weights,
                     std::ptrdiff_t count, Row* __restrict out) {
    for (std::ptrdiff_t k = 0; k < count; ++k) {
      out[k] = between(taps[2 * k], taps[2 * k + 1], weights[0][static_cast<std::size_t>(k)]);
    }
  }
  static void alongY(const RowsBelow<EighthSteps>& rows, const Weights<EighthSteps>& weights,
                     std::ptrdiff_t count, std::uint8_t* __restrict out) {
    for (std::ptrdiff_t k = 0; k < count; ++k) {
      out[k] = between(rows[0][k], rows[1][k], weights[0]);
    }
  }

 private:
  static std::uint8_t between(std::uint8_t first, std::uint8_t second, Weight weight) {
    const auto sum = static_cast<Weight>(first * (kUpsampling - weight) + second * weight);
    return static_cast<std::uint8_t>(sum / kUpsampling);
  }

  std::int64_t origin_;
};

// Whether samples [first, first + count) exist in the enlargement of `low` samples.
bool isInEnlarged(std::int32_t first, std::int32_t count, std::int32_t low) {
  return first >= 0 && std::int64_t{first} + count <= std::int64_t{kUpsampling} * low;
}

// The corner of the crop, in samples of the enlarged plane or luma pixels of the enlarged image.
struct Corner {
  std::int32_t left;
  std::int32_t top;
};

Result upscaleCrop(const Plane<const std::uint8_t>& low, const Corner& corner,
                   const Plane<std::uint8_t>& target) {
  if (!isResizable(low) || !isResizable(target)) return Result::kInvalidParam;
  if (!isInEnlarged(corner.left, target.width, low.width)) return Result::kInvalidParam;
  if (!isInEnlarged(corner.top, target.height, low.height)) return Result::kInvalidParam;
  const Axis<EighthSteps> x{EighthSteps(corner.left), low.width};
  const Axis<EighthSteps> y{EighthSteps(corner.top), low.height};
  interpolate(
      x, y, {}, {target.width, 0, target.height}, [&](std::int64_t row) { return low.row(row); },
      [&](std::int64_t row) { return target.row(row); });
  return Result::kOk;
}

Result upscaleCrop(const TLUX_IMAGE* low, const Corner& corner, const TLUX_IMAGE* target) {
  if (low == nullptr || target == nullptr) return Result::kInvalidParam;
  const Result outcome = checkResize(*low, *target);
  if (outcome != Result::kOk) return outcome;
  if (!isInEnlarged(corner.left, target->width, low->width)) return Result::kInvalidParam;
  if (!isInEnlarged(corner.top, target->height, low->height)) return Result::kInvalidParam;
  forEachComponent(*low, *target, {0, target->height},
                   [&](const ComponentPlane& from, const ComponentPlane& to,
                       const Component& component, const RowRange& rows) {
                     const EighthSteps columns(corner.left >> component.shiftX);
                     const EighthSteps lines(corner.top >> component.shiftY);
                     interpolateComponent<EighthSteps>({columns, from.width}, {lines, from.height},
                                                       from, to, component, rows);
                   });
  return Result::kOk;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_UpscaleCalLine8s(const uint8_t* upper, const uint8_t* lower, int32_t lowWidth,
                               int32_t phase, uint8_t* line) noexcept {
  constexpr std::int32_t kMostLow = std::numeric_limits<std::int32_t>::max() / kUpsampling;
  if (upper == nullptr || lower == nullptr || line == nullptr) return TLUX_ERR_INVALID_PARAM;
  if (lowWidth < 1 || lowWidth > kMostLow) return TLUX_ERR_INVALID_PARAM;
  if (phase < 0 || phase >= kUpsampling) return TLUX_ERR_INVALID_PARAM;
  const Axis<EighthSteps> x{EighthSteps(0), lowWidth};
  const Axis<EighthSteps> y{EighthSteps(phase), 2};
  interpolate(
      x, y, {}, {std::int64_t{kUpsampling} * lowWidth, 0, 1},
      [&](std::int64_t row) { return row == 0 ? upper : lower; },
      [&](std::int64_t) { return line; });
  return TLUX_OK;
}

uint32_t UpcaleCropGray(const uint8_t* low, int32_t lowWidth, int32_t lowHeight, int32_t lowStride,
                        int32_t left, int32_t top, uint8_t* target, int32_t targetWidth,
                        int32_t targetHeight, int32_t targetStride) noexcept {
  return codeOf(upscaleCrop({low, lowWidth, lowHeight, lowStride}, {left, top},
                            {target, targetWidth, targetHeight, targetStride}));
}

uint32_t UpcaleCropImage(const TLUX_IMAGE* low, int32_t left, int32_t top,
                         TLUX_IMAGE* target) noexcept {
  return codeOf(upscaleCrop(low, {left, top}, target));
}

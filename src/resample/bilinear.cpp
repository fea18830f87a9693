#include "image/bilinear.hpp"

#include "base/plane.hpp"
#include "tlux/platform.h"
#include "tlux/resize.h"

namespace tlux {
namespace {

void resizePlane(const Plane<const std::uint8_t>& source, const Plane<std::uint8_t>& target) {
  if (source.width == target.width && source.height == target.height) {
    for (std::int32_t y = 0; y < target.height; ++y) {
      MMemCpy(target.row(y), source.row(y), static_cast<std::uint64_t>(target.width));
    }
    return;
  }
  resizeBilinear<CentreAligned>(
      {source.width, source.height}, {target.width, target.height}, 1,
      [&](std::int64_t y) { return source.row(y); }, [&](std::int64_t y) { return target.row(y); });
}

} // namespace
} // namespace tlux

uint32_t asfImageResize_BL_C1(const uint8_t* source, int32_t sourceWidth, int32_t sourceHeight,
                              int32_t sourceStride, uint8_t* target, int32_t targetWidth,
                              int32_t targetHeight, int32_t targetStride) noexcept {
  const bool isEmpty =
      sourceWidth <= 0 || sourceHeight <= 0 || targetWidth <= 0 || targetHeight <= 0;
  if (source == nullptr || target == nullptr || isEmpty || sourceStride < sourceWidth ||
      targetStride < targetWidth) {
    return TLUX_ERR_INVALID_PARAM;
  }
  tlux::resizePlane({source, sourceWidth, sourceHeight, sourceStride},
                    {target, targetWidth, targetHeight, targetStride});
  return TLUX_OK;
}

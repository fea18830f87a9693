#include "image/simple_image.hpp"
#include "resize/bilinear.hpp"
#include "tlux/resize.h"

namespace tlux::detail {
namespace {

void resizeSimple(const img* source, const img* target) {
  if (source == nullptr || target == nullptr || source->channels <= 0) return;
  const std::int64_t channels = source->channels;
  if (!holds(source, source->height, source->width * channels)) return;
  if (!holds(target, target->height, target->width * channels)) return;
  if (source->width <= 0 || source->height <= 0 || target->width <= 0 || target->height <= 0)
    return;
  interpolate<CornerAligned>(
      {{source->width, target->width}, source->width},
      {{source->height, target->height}, source->height}, {channels, 1},
      {target->width * channels, 0, target->height},
      [source](std::int64_t y) { return source->rows[y]; },
      [target](std::int64_t y) { return target->rows[y]; });
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

void resize_a(const img* source, img* target) noexcept {
  resizeSimple(source, target);
}

void resize_bgr(const img* source, img* target) noexcept {
  resizeSimple(source, target);
}

uint32_t resize_C1(MMemMgr, const img* source, img* target) noexcept {
  if (source == nullptr || target == nullptr) return TLUX_ERR_INVALID_PARAM;
  return asfImageResize_BL_C1(source->data, source->width, source->height, source->stride,
                              target->data, target->width, target->height, target->stride);
}

uint32_t resize_Cubic1() noexcept {
  return TLUX_OK;
}

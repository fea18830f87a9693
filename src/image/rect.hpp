#pragma once

#include <cstdint>

#include "tlux/image.h"

namespace tlux::detail {

// A rectangle in luma pixels; right and bottom are exclusive. 64-bit, so no corner overflows.
struct Rect {
  std::int64_t left;
  std::int64_t top;
  std::int64_t right;
  std::int64_t bottom;

  std::int64_t width() const { return right - left; }
  std::int64_t height() const { return bottom - top; }
};

inline Rect toRect(const TLUX_RECT& rect) {
  return {rect.left, rect.top, rect.right, rect.bottom};
}

// The rectangle, or the whole image when it is null.
inline Rect rectOrWhole(const TLUX_RECT* rect, const TLUX_IMAGE& image) {
  return rect != nullptr ? toRect(*rect) : Rect{0, 0, image.width, image.height};
}

// Compares sizes, not the right and bottom edge: a rectangle that extends past the image passes
// when it is no larger than the image. Intended.
inline bool isRectInImage(const Rect& rect, const TLUX_IMAGE& image) {
  return rect.left >= 0 && rect.left <= rect.right && rect.width() <= image.width &&
         rect.top >= 0 && rect.top <= rect.bottom && rect.height() <= image.height;
}

} // namespace tlux::detail

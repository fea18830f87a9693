#pragma once

#include <cstdint>

#include "base/plane.hpp"

// What exported functions require of the planes they are given.
namespace tlux::detail {

inline bool isEmpty(std::int32_t width, std::int32_t height) {
  return width < 1 || height < 1;
}

// The window means are exact for images of up to 2²⁸ pixels.
inline bool isFilterableSize(std::int32_t width, std::int32_t height) {
  constexpr std::int64_t kMostPixels = std::int64_t{1} << 28;
  return width > 0 && height > 0 && std::int64_t{width} * height <= kMostPixels;
}

// Whether a plane of `samples` samples a pixel can be filtered; an empty one can.
template <class T>
bool isPlane(Plane<T> plane, int samples = 1) {
  const std::int64_t rowBytes =
      std::int64_t{plane.width} * samples * static_cast<std::int64_t>(sizeof(T));
  return plane.data != nullptr && plane.pitch >= rowBytes &&
         (isEmpty(plane.width, plane.height) || isFilterableSize(plane.width, plane.height));
}

} // namespace tlux::detail

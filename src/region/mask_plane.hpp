#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include "base/plane.hpp"

namespace tlux::detail {

// The plane described by a caller. Sizes beyond 31 bits become negative: see isValid().
template <class T>
Plane<T> describePlane(T* data, std::int32_t pitch, std::uint32_t width, std::uint32_t height) {
  return {data, static_cast<std::int32_t>(width), static_cast<std::int32_t>(height), pitch};
}

// Whether a plane has pixels, rows that do not overlap, samples at their natural alignment, and no
// more pixels than 31 bits count.
template <class T>
bool isValid(const Plane<T>& plane) {
  constexpr std::int64_t kMaxPixels = std::numeric_limits<std::int32_t>::max();
  if (plane.data == nullptr || plane.width <= 0 || plane.height <= 0) return false;
  const std::int64_t rowBytes = plane.width * std::int64_t{sizeof(T)};
  const std::int64_t step = plane.pitch < 0 ? -plane.pitch : plane.pitch;
  const bool isAligned =
      (reinterpret_cast<std::uintptr_t>(plane.data) | static_cast<std::uintptr_t>(step)) %
          alignof(T) ==
      0;
  return isAligned && step >= rowBytes && plane.height <= kMaxPixels / plane.width;
}

} // namespace tlux::detail

#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace tlux::detail {

// A view of one plane of samples: rows of `width` samples, `pitch` bytes apart.
template <class T>
struct Plane {
  T* data = nullptr;
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::ptrdiff_t pitch = 0; // bytes

  T* row(std::ptrdiff_t y) const {
    using Byte = std::conditional_t<std::is_const_v<T>, const std::byte, std::byte>;
    return reinterpret_cast<T*>(reinterpret_cast<Byte*>(data) + y * pitch);
  }

  operator Plane<const T>() const { return {data, width, height, pitch}; }
};

// A plane whose rows lie end to end.
template <class T>
constexpr Plane<T> packedPlane(T* data, std::int32_t width, std::int32_t height) {
  return {data, width, height, static_cast<std::ptrdiff_t>(width) * std::ptrdiff_t{sizeof(T)}};
}

} // namespace tlux::detail

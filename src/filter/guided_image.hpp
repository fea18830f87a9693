// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges: images and rows.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/plane_checks.hpp"
#include "tlux/simple_image.h"

namespace tlux::detail {

// Rows of bytes, given by a table of pointers, as in simple images, or as a plane with rows `pitch`
// bytes apart.
template <class Byte>
struct BasicRows {
  Byte* const* table = nullptr; // null for a plane
  Byte* plane = nullptr;
  std::ptrdiff_t pitch = 0;
  std::ptrdiff_t left = 0; // bytes

  Byte* operator[](std::int32_t y) const {
    return (table != nullptr ? table[y] : plane + y * pitch) + left;
  }
  // The rows of a rectangle within these rows, which must come from a table.
  BasicRows from(std::ptrdiff_t leftBytes, std::int32_t top) const {
    return {table + top, nullptr, 0, left + leftBytes};
  }
};
using ByteRows = BasicRows<const std::uint8_t>;
using WritableRows = BasicRows<std::uint8_t>;

inline ByteRows rowsOf(const img* image) {
  return {image->rows};
}
inline WritableRows writableRowsOf(const img* image) {
  return {image->rows};
}

inline bool isFilterable(const img* image) {
  return image != nullptr && image->rows != nullptr &&
         isFilterableSize(image->width, image->height);
}

inline bool hasSamples(const img* image, std::int32_t channels, std::int32_t depth) {
  return isFilterable(image) && image->channels == channels && image->depth == depth;
}

inline bool areEqualInSize(const img* a, const img* b) {
  return a->width == b->width && a->height == b->height;
}

} // namespace tlux::detail

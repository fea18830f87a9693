#pragma once

#include <cstddef>
#include <cstdint>

#include "tlux/simple_image.h"

namespace tlux {

// The rows of a simple image of bytes, or of a rectangle in it.
struct ByteRows {
  std::uint8_t* const* rows = nullptr;
  std::ptrdiff_t left = 0; // bytes

  std::uint8_t* operator[](std::int32_t y) const { return rows[y] + left; }
  ByteRows from(std::ptrdiff_t leftBytes, std::int32_t top) const {
    return {rows + top, left + leftBytes};
  }
};

inline ByteRows rowsOf(const img* image) {
  return {image->rows, 0};
}

// The window means are exact for images of up to 2²⁸ pixels.
inline bool isFilterable(const img* image) {
  constexpr std::int64_t kMostPixels = std::int64_t{1} << 28;
  return image != nullptr && image->rows != nullptr && image->width > 0 && image->height > 0 &&
         std::int64_t{image->width} * image->height <= kMostPixels;
}

inline bool hasSamples(const img* image, std::int32_t channels, std::int32_t depth) {
  return isFilterable(image) && image->channels == channels && image->depth == depth;
}

inline bool areEqualInSize(const img* a, const img* b) {
  return a->width == b->width && a->height == b->height;
}

} // namespace tlux

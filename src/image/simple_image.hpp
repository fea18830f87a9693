#pragma once

#include <cstdint>

#include "tlux/simple_image.h"

namespace tlux::detail {

// Whether `rows` rows of `rowBytes` bytes each are accessible through the image's row table.
inline bool holds(const img* image, std::int64_t rows, std::int64_t rowBytes) {
  if (image == nullptr || image->rows == nullptr || image->height < rows) return false;
  std::int64_t rowBits = std::int64_t{image->width} * image->channels;
  if (__builtin_mul_overflow(rowBits, image->depth, &rowBits)) return false;
  return rowBits / 8 >= rowBytes;
}

// The same for a tool that takes one byte per pixel of its first image from each of its images.
template <class... Images>
bool holdPixelBytes(const img* first, const Images*... others) {
  return first != nullptr && holds(first, first->height, first->width) &&
         (holds(others, first->height, first->width) && ...);
}

} // namespace tlux::detail

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "tlux/resample.h"

namespace tlux::detail {

// A rectangle as corner and size, so inclusive and exclusive sides cannot be confused. 64 bits hold
// the size of any rectangle with 32-bit sides.
struct Crop {
  std::int64_t left;
  std::int64_t top;
  std::int64_t width;
  std::int64_t height;

  constexpr bool isEmpty() const { return width <= 0 || height <= 0; }
};

constexpr Crop cropOf(const TLUX_CROP_RECT& rect) {
  return {rect.left, rect.top, std::int64_t{rect.right} - rect.left + 1,
          std::int64_t{rect.bottom} - rect.top + 1};
}

// The rows of the three destination planes. The next row begins pitch − width bytes after the last
// output of a row, wherever that is.
class OutputRows {
 public:
  OutputRows(const TLUX_IMAGE& image, std::int64_t outputsPerRow) {
    for (std::size_t i = 0; i < planes_.size(); ++i) {
      planes_[i] = image.plane[i];
      steps_[i] = outputsPerRow + image.pitch[i] - image.width;
    }
  }
  std::uint8_t* row(int plane, std::int64_t y) const {
    const auto i = static_cast<std::size_t>(plane);
    return planes_[i] + y * steps_[i];
  }

 private:
  std::array<std::uint8_t*, 3> planes_;
  std::array<std::int64_t, 3> steps_;
};

} // namespace tlux::detail

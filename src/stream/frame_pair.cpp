#include "stream/frame_pair.hpp"

#include <cstdint>

#include "image/format.hpp"

namespace tlux::detail {
namespace {

// The samples of a plane: rows of `bytes` bytes, `pitch` apart.
struct PlaneRows {
  std::uintptr_t first;
  std::uintptr_t pitch;
  std::uintptr_t bytes;
  std::uintptr_t count;

  std::uintptr_t row(std::uintptr_t i) const { return first + i * pitch; }
  std::uintptr_t end() const { return row(count - 1) + bytes; }
};

PlaneRows planeRowsOf(const TLUX_IMAGE& image, int plane) {
  return {reinterpret_cast<std::uintptr_t>(image.plane[plane]),
          static_cast<std::uintptr_t>(image.pitch[plane]), static_cast<std::uintptr_t>(image.width),
          static_cast<std::uintptr_t>(plane == 0 ? image.height : image.height / 2)};
}

// Rows may lie in the padding of other rows, as in pictures stored side by side, so both planes are
// walked from top to bottom.
bool overlap(const PlaneRows& a, const PlaneRows& b) {
  if (a.end() <= b.first || b.end() <= a.first) return false;
  std::uintptr_t i = 0;
  std::uintptr_t j = 0;
  while (i < a.count && j < b.count) {
    if (a.row(i) + a.bytes <= b.row(j)) {
      ++i;
    } else if (b.row(j) + b.bytes <= a.row(i)) {
      ++j;
    } else {
      return true;
    }
  }
  return false;
}

bool isStreamFrame(const TLUX_IMAGE& image) {
  const auto isEven = [](std::int32_t side) { return side >= 2 && side % 2 == 0; };
  return isSemiPlanar420(image.format) && isEven(image.width) && isEven(image.height) &&
         hasSemiPlanes(image, image.width, image.width);
}

bool haveSamePlanes(const TLUX_IMAGE& source, const TLUX_IMAGE& output) {
  return source.plane[0] == output.plane[0] && source.plane[1] == output.plane[1] &&
         source.pitch[0] == output.pitch[0] && source.pitch[1] == output.pitch[1];
}

bool areApart(const TLUX_IMAGE& source, const TLUX_IMAGE& output) {
  for (int i = 0; i < 2; ++i) {
    for (int j = 0; j < 2; ++j) {
      if (overlap(planeRowsOf(source, i), planeRowsOf(output, j))) return false;
    }
  }
  return true;
}

} // namespace

bool isStreamPair(const TLUX_IMAGE& source, const TLUX_IMAGE& output) {
  return isStreamFrame(source) && isStreamFrame(output) && source.format == output.format &&
         source.width == output.width && source.height == output.height &&
         !overlap(planeRowsOf(output, 0), planeRowsOf(output, 1)) &&
         (haveSamePlanes(source, output) || areApart(source, output));
}

} // namespace tlux::detail

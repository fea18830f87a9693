#include "tone/reference_rows.hpp"

#include <cstddef>

namespace tlux::detail {

void fillReferenceRows(const TLUX_IMAGE& source, const TLUX_IMAGE& reference, Band rows,
                       Components components) {
  if (rows.first >= rows.end) return;
  TLUX_IMAGE part = reference;
  part.height = rows.end - rows.first;
  for (int plane = 0; plane < 3; ++plane) {
    part.plane[plane] += std::ptrdiff_t{rows.first} * reference.pitch[plane];
  }
  const Crop blocks = {0, std::int64_t{rows.first} * kReferenceReduction,
                       std::int64_t{reference.width} * kReferenceReduction,
                       std::int64_t{part.height} * kReferenceReduction};
  reducePlanes(layoutOf(source.format), kReferenceReduction, source, blocks, part, components);
}

} // namespace tlux::detail

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "region/mask_plane.hpp"
#include "region/run_table.hpp"
#include "tlux/region.h"

namespace tlux::detail {
namespace {

// A row at the border of the mask: every set pixel is marked.
void markBorderRow(const std::uint8_t* __restrict row, std::ptrdiff_t width,
                   std::uint8_t* __restrict out) {
  for (std::ptrdiff_t x = 0; x < width; ++x) {
    out[x] = row[x] != 0 ? 255 : 0;
  }
}

// 0 if one of the neighbours is clear.
template <Connectivity connectivity>
std::uint8_t leastNeighbour(const std::uint8_t* above, const std::uint8_t* row,
                            const std::uint8_t* below, std::ptrdiff_t x) {
  std::uint8_t least = std::min(std::min(above[x], below[x]), std::min(row[x - 1], row[x + 1]));
  if constexpr (connectivity == Connectivity::kEight) {
    least = std::min(least, std::min(above[x - 1], above[x + 1]));
    least = std::min(least, std::min(below[x - 1], below[x + 1]));
  }
  return least;
}

// For pixels with neighbours on all sides: [1, width - 1).
template <Connectivity connectivity>
void markRow(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
             std::ptrdiff_t width, std::uint8_t* __restrict out) {
  for (std::ptrdiff_t x = 1; x < width - 1; ++x) {
    const std::uint8_t least = leastNeighbour<connectivity>(above, row, below, x);
    const std::uint8_t mark = row[x] != 0 ? 255 : 0;
    out[x] = least == 0 ? mark : std::uint8_t{0};
  }
}

template <Connectivity connectivity>
void markBoundary(const Plane<const std::uint8_t>& mask, const Plane<std::uint8_t>& boundary) {
  const std::ptrdiff_t width = mask.width;
  for (std::int32_t y = 0; y < mask.height; ++y) {
    const std::uint8_t* row = mask.row(y);
    std::uint8_t* out = boundary.row(y);
    if (y == 0 || y == mask.height - 1) {
      markBorderRow(row, width, out);
      continue;
    }
    markRow<connectivity>(mask.row(y - 1), row, mask.row(y + 1), width, out);
    markBorderRow(row, 1, out);
    markBorderRow(row + width - 1, 1, out + width - 1);
  }
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_TRegionLabel_Boundary(const uint8_t* mask, int32_t pitch, uint32_t width,
                                    uint32_t height, uint32_t connectivity, uint8_t* boundary,
                                    int32_t boundaryPitch) noexcept {
  const auto in = describePlane(mask, pitch, width, height);
  const auto out = describePlane(boundary, boundaryPitch, width, height);
  const bool isGood = isValid(in) && isValid(out) && isConnectivity(connectivity);
  if (!isGood) return TLUX_ERR_INVALID_PARAM;
  if (connectivity == 4) {
    markBoundary<Connectivity::kFour>(in, out);
  } else {
    markBoundary<Connectivity::kEight>(in, out);
  }
  return TLUX_OK;
}

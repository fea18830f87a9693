#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "region/mask_plane.hpp"
#include "tlux/region.h"

namespace tlux::detail {
namespace {

struct Counts {
  std::uint32_t a = 0;
  std::uint32_t b = 0;
  std::uint32_t both = 0;
};

// Counts in blocks whose sums fit a byte, so the vector loop need not widen every pixel.
void countRow(const std::uint8_t* a, const std::uint8_t* b, std::ptrdiff_t width, Counts& counts) {
  constexpr std::ptrdiff_t kBlock = 240;
  for (std::ptrdiff_t first = 0; first < width; first += kBlock) {
    const std::ptrdiff_t end = std::min(first + kBlock, width);
    std::uint8_t inA = 0;
    std::uint8_t inB = 0;
    std::uint8_t inBoth = 0;
    for (std::ptrdiff_t x = first; x < end; ++x) {
      inA = static_cast<std::uint8_t>(inA + (a[x] != 0 ? 1 : 0));
      inB = static_cast<std::uint8_t>(inB + (b[x] != 0 ? 1 : 0));
      inBoth = static_cast<std::uint8_t>(inBoth + (std::min(a[x], b[x]) != 0 ? 1 : 0));
    }
    counts.a += inA;
    counts.b += inB;
    counts.both += inBoth;
  }
}

TLUX_MASK_AGREEMENT compareMasks(const Plane<const std::uint8_t>& a,
                                 const Plane<const std::uint8_t>& b) {
  Counts counts;
  for (std::int32_t y = 0; y < a.height; ++y) {
    countRow(a.row(y), b.row(y), a.width, counts);
  }
  const std::uint32_t either = counts.a + counts.b - counts.both;
  const auto pixels = static_cast<std::uint32_t>(std::int64_t{a.width} * a.height);
  const double overlap = either == 0 ? 1.0 : static_cast<double>(counts.both) / either;
  return {counts.both, counts.a - counts.both, counts.b - counts.both, pixels - either, overlap};
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_TRegionLabel_Compare(const uint8_t* a, int32_t pitchA, const uint8_t* b,
                                   int32_t pitchB, uint32_t width, uint32_t height,
                                   TLUX_MASK_AGREEMENT* agreement) noexcept {
  const auto planeA = describePlane(a, pitchA, width, height);
  const auto planeB = describePlane(b, pitchB, width, height);
  const bool isGood = isValid(planeA) && isValid(planeB) && agreement != nullptr;
  if (!isGood) return TLUX_ERR_INVALID_PARAM;
  *agreement = compareMasks(planeA, planeB);
  return TLUX_OK;
}

#include <algorithm>
#include <cstring>

#include "reduce/reduce.hpp"
#include "reduce/row_kernels.hpp"

namespace tlux::detail {
namespace {

void widenPlanes(Layout layout, const TLUX_IMAGE& source, const Crop& crop, const OutputRows& out) {
  const std::int64_t pairs = crop.width / 2;
  const std::int64_t firstPair = crop.left >> 1;
  for (std::int64_t y = 0; y < crop.height; ++y) {
    std::memcpy(out.row(0, y), source.plane[0] + (crop.top + y) * source.pitch[0] + crop.left,
                static_cast<std::size_t>(crop.width));
    // Rows are paired from the top of the rectangle, even if that is odd.
    const std::int64_t row =
        layout.sampling == Sampling::k420 ? (crop.top >> 1) + (y >> 1) : crop.top + y;
    const std::uint8_t* first = source.plane[1] + row * source.pitch[1];
    if (layout.interleaved) {
      const std::uint8_t* pair = first + 2 * firstPair;
      rowKernels().widenPairs(pair + (layout.crFirst ? 1 : 0), pair + (layout.crFirst ? 0 : 1),
                              out.row(1, y), out.row(2, y), pairs);
    } else {
      const std::uint8_t* second = source.plane[2] + row * source.pitch[2];
      rowKernels().widenPlanes(first + firstPair, second + firstPair, out.row(1, y), out.row(2, y),
                               pairs);
    }
  }
}

void widenPacked(const TLUX_IMAGE& source, const Crop& crop, const OutputRows& out) {
  constexpr std::int64_t kColumns = 512;           // of a stretch
  std::array<std::uint8_t, 2 + kColumns> chroma{}; // the pair before the stretch, then its pairs
  for (std::int64_t y = 0; y < crop.height; ++y) {
    const std::uint8_t* packed = source.plane[0] + (crop.top + y) * source.pitch[0] + 2 * crop.left;
    // A rectangle at the left edge has no group to its left.
    const std::uint8_t* left = crop.left >= 2 ? packed - 4 : packed;
    chroma[0] = left[1];
    chroma[1] = left[3];
    for (std::int64_t x = 0; x < crop.width; x += kColumns) {
      const std::int64_t columns = std::min(kColumns, crop.width - x);
      rowKernels().split(packed + 2 * x, out.row(0, y) + x, chroma.data() + 2, columns);
      rowKernels().widenPairs(chroma.data() + 2, chroma.data() + 3, out.row(1, y) + x,
                              out.row(2, y) + x, columns / 2);
      std::memcpy(chroma.data(), chroma.data() + columns, 2);
    }
  }
}

} // namespace

void widenChroma(Layout layout, const TLUX_IMAGE& source, const Crop& crop,
                 const TLUX_IMAGE& destination) {
  const Crop pairs{crop.left, crop.top, crop.width / 2 * 2, crop.height / 2 * 2};
  if (pairs.width == 0) return; // half a pair would be read past the end of its row
  const OutputRows out(destination, pairs.width);
  if (layout.sampling == Sampling::kPacked422) {
    widenPacked(source, pairs, out);
  } else {
    widenPlanes(layout, source, pairs, out);
  }
}

} // namespace tlux::detail

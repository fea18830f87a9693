#include <algorithm>
#include <cstring>

#include "reduce/reduce.hpp"
#include "reduce/row_reader.hpp"

namespace tlux::detail {
namespace {

// The part of one source plane inside the rectangle.
struct SourcePlane {
  const std::uint8_t* corner; // row 0, first sample of the rectangle
  std::ptrdiff_t pitch;
  std::int64_t available; // bytes of a row
  std::int64_t top;       // luma row of the rectangle's top
  int rowShift;           // 1: chroma of every second luma row
  std::int64_t lastRow;

  SourceRows rows(const SubGrid& grid, std::int64_t output) const {
    SourceRows rows{};
    for (int tap = 0; tap < grid.rows.count; ++tap) {
      const std::int64_t y = (top + grid.row(output, tap)) >> rowShift;
      rows[static_cast<std::size_t>(tap)] = corner + std::min(y, lastRow) * pitch;
    }
    return rows;
  }
};

SourcePlane lumaPlane(const TLUX_IMAGE& source, const Crop& crop) {
  const std::int64_t lastRow = crop.top + crop.height - 1;
  return {source.plane[0] + crop.left, source.pitch[0], crop.width, crop.top, 0, lastRow};
}

// A rectangle that ends in an odd last row or column has half a chroma sample there, which the
// plane does not contain.
SourcePlane chromaPlane(Layout layout, int plane, const TLUX_IMAGE& source, const Crop& crop) {
  const auto i = static_cast<std::size_t>(plane);
  const int sampleBytes = layout.interleaved ? 2 : 1;
  const int rowShift = layout.sampling == Sampling::k420 ? 1 : 0;
  const std::int64_t first = crop.left >> 1;
  const std::int64_t last =
      std::min<std::int64_t>((crop.left + crop.width - 1) >> 1, source.width / 2 - 1);
  const std::int64_t samples = std::max<std::int64_t>(last - first + 1, 1);
  const std::int64_t lastRow = std::max((source.height >> rowShift) - 1, 0);
  return {source.plane[i] + first * sampleBytes,
          source.pitch[i],
          samples * sampleBytes,
          crop.top,
          rowShift,
          lastRow};
}

// Planar chroma that is reduced along with its luma needs no arithmetic. If neither plane has gaps
// between its rows it is copied as one block, which is faster than row by row; otherwise this does
// nothing and returns false.
bool copyAsBlock(const SourcePlane& plane, const SubGrid& grid, const OutputRows& out, int index,
                 std::int64_t width, std::int64_t height) {
  const SourceRows first = plane.rows(grid, 0);
  const SourceRows last = plane.rows(grid, height - 1);
  const bool gapless = plane.pitch == width && plane.available >= width &&
                       out.row(index, 1) - out.row(index, 0) == width &&
                       last[0] - first[0] == (height - 1) * width;
  if (gapless) std::memcpy(out.row(index, 0), first[0], static_cast<std::size_t>(width * height));
  return gapless;
}

} // namespace

void reducePlanes(Layout layout, int factor, const TLUX_IMAGE& source, const Crop& crop,
                  const TLUX_IMAGE& destination, Components components) {
  const auto [lumaGrid, chromaGrid] = reductionOf(layout.sampling, factor);
  const FactorKernels& kernels = rowKernels().of(layout.sampling, factor);
  const bool semiPlanar420 = layout.interleaved && layout.sampling == Sampling::k420;
  // NV12 is read with the byte order of NV21 here; see the interface. With an odd left corner,
  // columns count from the start of the pair.
  const bool eighth = semiPlanar420 && factor == 8;
  const bool crFirst = layout.crFirst || eighth;
  const auto odd = static_cast<std::size_t>(eighth ? 0 : crop.left & 1);

  const std::int64_t width = crop.width / lumaGrid.block * lumaGrid.outputs;
  const std::int64_t height = crop.height / lumaGrid.block * lumaGrid.outputs;
  const OutputRows out(destination, width);
  const SourcePlane luma = lumaPlane(source, crop);
  const SourcePlane chroma = chromaPlane(layout, 1, source, crop);
  const SourcePlane cr = chromaPlane(layout, layout.interleaved ? 1 : 2, source, crop);

  const auto reduce = [&](const RowKernel& kernel, const SourcePlane& plane, const SubGrid& grid,
                          std::int64_t y, std::uint8_t* first, std::uint8_t* second) {
    const SourceRows next = y + 1 < height ? plane.rows(grid, y + 1) : SourceRows{};
    reduceRow(kernel, plane.rows(grid, y), next, plane.available, first, second, width);
  };
  const bool hasLuma = components != Components::kChroma;
  const bool hasChroma = components != Components::kLuma;
  const bool copied =
      hasChroma && !layout.interleaved && chromaGrid.mean == Mean::kOne && height > 1;
  const bool hasCb = copied && copyAsBlock(chroma, chromaGrid, out, 1, width, height);
  const bool hasCr = copied && copyAsBlock(cr, chromaGrid, out, 2, width, height);
  for (std::int64_t y = 0; y < height; ++y) {
    if (hasLuma) reduce(kernels.luma, luma, lumaGrid, y, out.row(0, y), nullptr);
    if (!hasChroma) continue;
    if (layout.interleaved) {
      reduce(kernels.pairs[odd], chroma, chromaGrid, y, out.row(crFirst ? 2 : 1, y),
             out.row(crFirst ? 1 : 2, y));
    } else {
      if (!hasCb) reduce(kernels.halves[odd], chroma, chromaGrid, y, out.row(1, y), nullptr);
      if (!hasCr) reduce(kernels.halves[odd], cr, chromaGrid, y, out.row(2, y), nullptr);
    }
  }
}

} // namespace tlux::detail

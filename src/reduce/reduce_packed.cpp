#include <algorithm>

#include "reduce/reduce.hpp"
#include "reduce/row_reader.hpp"

// Packed 4:2:2 becomes semi-planar 4:2:2 once its even and odd bytes are separated: stretches of
// the rows of a block are separated on the stack and go through the same row kernels as planes.
namespace tlux::detail {
namespace {

constexpr std::int64_t kColumns = 512; // per stretch

struct Stretch {
  std::array<std::array<std::uint8_t, kColumns>, 3> luma;
  std::array<std::array<std::uint8_t, kColumns>, 3> pairs;

  // Takes columns of row `index`; `last` more columns follow in the source's row. A group cut in
  // half by the rectangle is completed from the source, or at the end of the row from the group
  // before.
  void take(std::size_t index, const std::uint8_t* packed, std::int64_t columns, bool last) {
    rowKernels().split(packed, luma[index].data(), pairs[index].data(), columns);
    if (columns % 2 == 0) return;
    const auto end = static_cast<std::size_t>(columns);
    pairs[index][end] = last ? pairs[index][end - 2] : packed[2 * columns + 1];
  }
};

template <class StretchRows>
SourceRows startsOf(const StretchRows& buffers, int count) {
  SourceRows rows{};
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    rows[i] = buffers[i].data();
  }
  return rows;
}

} // namespace

void reducePacked(int factor, const TLUX_IMAGE& source, const Crop& crop,
                  const TLUX_IMAGE& destination) {
  const SubGrid grid = reductionOf(Sampling::kPacked422, factor).luma;
  const FactorKernels& kernels = rowKernels().of(Sampling::kPacked422, factor);
  const std::int64_t width = crop.width / factor;
  const std::int64_t height = crop.height / factor;
  const std::int64_t perStretch = kColumns / (2 * factor) * 2; // whole groups
  const bool endsAtPlane = crop.left + width * factor >= source.width;
  const OutputRows out(destination, width);

  Stretch stretch;
  const SourceRows luma = startsOf(stretch.luma, grid.rows.count);
  const SourceRows pairs = startsOf(stretch.pairs, grid.rows.count);
  for (std::int64_t y = 0; y < height; ++y) {
    for (std::int64_t x = 0; x < width; x += perStretch) {
      const std::int64_t outputs = std::min(perStretch, width - x);
      const std::int64_t columns = outputs * factor;
      for (int tap = 0; tap < grid.rows.count; ++tap) {
        const std::int64_t row = crop.top + grid.row(y, tap);
        stretch.take(static_cast<std::size_t>(tap),
                     source.plane[0] + row * source.pitch[0] + 2 * (crop.left + x * factor),
                     columns, endsAtPlane);
      }
      reduceRow(kernels.luma, luma, {}, columns, out.row(0, y) + x, nullptr, outputs);
      reduceRow(kernels.pairs[0], pairs, {}, columns + columns % 2, out.row(1, y) + x,
                out.row(2, y) + x, outputs);
    }
  }
}

} // namespace tlux::detail

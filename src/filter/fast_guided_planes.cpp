// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges.
#include <algorithm>
#include <cstddef>
#include <numeric>

#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"
#include "base/result.hpp"
#include "filter/guided_planes.hpp"
#include "platform/scratch.hpp"
#include "tlux/smoothing.h"

namespace tlux::detail {
namespace {

using Model = PlaneModel<1, 1>;
using Means = CoefficientMeans<Model::kCoefficients>;
constexpr int kCoefficients = Model::kCoefficients;

constexpr std::int32_t kLargestFactor = 16;

std::int32_t reducedSize(std::int32_t size, std::int32_t factor) {
  return static_cast<std::int32_t>((std::int64_t{size} + factor - 1) / factor);
}

void addRow(const std::uint8_t* __restrict row, std::int32_t count,
            std::uint16_t* __restrict columnSums) {
  for (std::int32_t x = 0; x < count; ++x) {
    columnSums[x] = static_cast<std::uint16_t>(columnSums[x] + row[x]);
  }
}

// Rounded means of blocks of factor × factor pixels; blocks at the right and bottom edge may be
// smaller. `columnSums` has room for a row.
void reduce(Plane<const std::uint8_t> in, std::int32_t factor, Plane<std::uint8_t> out,
            std::uint16_t* columnSums) {
  for (std::int32_t y = 0; y < out.height; ++y) {
    const std::int32_t top = y * factor;
    const std::int32_t rows = std::min(factor, in.height - top);
    std::fill_n(columnSums, in.width, std::uint16_t{0});
    for (std::int32_t j = 0; j < rows; ++j) {
      addRow(in.row(top + j), in.width, columnSums);
    }
    for (std::int32_t x = 0; x < out.width; ++x) {
      const std::int32_t left = x * factor;
      const std::int32_t columns = std::min(factor, in.width - left);
      const std::int32_t count = rows * columns;
      const std::int32_t sum = std::accumulate(columnSums + left, columnSums + left + columns, 0);
      out.row(y)[x] = static_cast<std::uint8_t>((sum + count / 2) / count);
    }
  }
}

// Where a pixel lies between the centres of two blocks: `weight` / 64 of the way to the far one.
struct BlockPoint {
  std::int32_t near;
  std::int32_t far;
  std::int32_t weight;
};

BlockPoint blockPoint(std::int32_t pixel, std::int32_t factor, std::int32_t blocks) {
  // In units of 1 / 2·factor from the centre of block 0.
  const std::int64_t position = std::max(2 * std::int64_t{pixel} + 1 - factor, std::int64_t{0});
  const std::int32_t unit = 2 * factor;
  const auto near = static_cast<std::int32_t>(position / unit);
  return {near, std::min(near + 1, blocks - 1),
          static_cast<std::int32_t>((position % unit * 64 + factor) / unit)};
}

// |b| for one guide channel is at most 255 + 63.75 · 255 in Q10, so the sum fits 32 bits; the
// intermediate difference may wrap.
constexpr std::int32_t mix(std::int32_t near, std::int32_t far, std::int32_t weight) {
  return wrappingAdd(near * 64, wrappingMul(wrappingSub(far, near), weight)) >> 6;
}

TLUX_OUT_OF_LINE void mixRows(const std::int32_t* __restrict near,
                              const std::int32_t* __restrict far, std::int32_t weight,
                              std::int32_t count, std::int32_t* __restrict out) {
  for (std::int32_t x = 0; x < count; ++x) {
    out[x] = mix(near[x], far[x], weight);
  }
}

// Rows of smoothed coefficients, enlarged along the row: the two latest, and one mixed from them.
class EnlargedRows {
 public:
  static std::int64_t valuesNeeded(std::int32_t width) {
    return 3 * kCoefficients * std::int64_t{width};
  }

  // `columns` are the points of the pixels of a row.
  EnlargedRows(const BlockPoint* columns, std::int32_t width, std::int32_t* memory)
      : columns_(columns), width_(width), memory_(memory) {}

  void enlarge(std::int32_t y, const Means::RowsOfMeans& means) {
    for (std::int32_t i = 0; i < kCoefficients; ++i) {
      const std::int32_t* values = means[static_cast<std::size_t>(i)];
      std::int32_t* out = line(y % 2, i);
      for (std::int32_t x = 0; x < width_; ++x) {
        const BlockPoint& point = columns_[x];
        out[x] = mix(values[point.near], values[point.far], point.weight);
      }
    }
  }

  // The coefficients of a row of pixels.
  Means::RowsOfMeans at(const BlockPoint& point) {
    Means::RowsOfMeans mixed{};
    for (std::int32_t i = 0; i < kCoefficients; ++i) {
      mixRows(line(point.near % 2, i), line(point.far % 2, i), point.weight, width_, line(2, i));
      mixed[static_cast<std::size_t>(i)] = line(2, i);
    }
    return mixed;
  }

 private:
  std::int32_t* line(std::int32_t slot, std::int32_t coefficient) const {
    return memory_ + (slot * kCoefficients + coefficient) * std::int64_t{width_};
  }

  const BlockPoint* columns_;
  std::int32_t width_;
  std::int32_t* memory_;
};

std::int32_t reducedRadius(std::int32_t radius, std::int32_t factor) {
  const auto rounded = static_cast<std::int32_t>((std::int64_t{radius} + factor / 2) / factor);
  return std::max(rounded, std::min(radius, 1));
}

Result filterReduced(MMemMgr manager, const GuidedPlanes& planes, Smoothing smoothing,
                     std::int32_t factor) {
  const std::int32_t width = planes.output.width;
  const std::int32_t height = planes.output.height;
  const Windows windows(reducedSize(width, factor), reducedSize(height, factor),
                        reducedRadius(smoothing.radius, factor));
  const std::int64_t blocks = std::int64_t{windows.width} * windows.height;
  const Scratch<std::uint8_t> reduced(manager, 2 * blocks);
  const Scratch<std::uint16_t> columnSums(manager, width);
  const Scratch<BlockPoint> columns(manager, width);
  const Scratch<std::int32_t> lines(manager, EnlargedRows::valuesNeeded(width));
  const GuidedFilter<Model> filter(manager, windows);
  if (!reduced || !columnSums || !columns || !lines || !filter) return Result::kNoMemory;

  const auto guide = packedPlane(reduced.get(), windows.width, windows.height);
  const auto input = packedPlane(reduced.get() + blocks, windows.width, windows.height);
  reduce(planes.guide, factor, guide, columnSums.get());
  reduce(planes.input, factor, input, columnSums.get());
  for (std::int32_t x = 0; x < width; ++x) {
    columns[x] = blockPoint(x, factor, windows.width);
  }

  EnlargedRows enlarged(columns.get(), width, lines.get());
  std::int32_t next = 0; // row of pixels
  const auto enlargeAndApply = [&](std::int32_t y, const Means& means) {
    enlarged.enlarge(y, means.from(0));
    for (; next < height; ++next) {
      const BlockPoint point = blockPoint(next, factor, windows.height);
      if (point.far > y) break;
      applyCoefficients<Model>(enlarged.at(point), planes.guide.row(next), width,
                               planes.output.row(next));
    }
  };
  filter.forMeansOfRows(rowsOf(guide), rowsOf(input), windows, {0, windows.height},
                        modelOf<Model>(smoothing), enlargeAndApply);
  return Result::kOk;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_GuidedFilter1DS(MMemMgr manager, const uint8_t* guide, int32_t guidePitch,
                              const uint8_t* input, int32_t inputPitch, uint8_t* output,
                              int32_t outputPitch, int32_t width, int32_t height, int32_t radius,
                              int32_t eps, int32_t factor) noexcept {
  const GuidedPlanes planes = {{guide, width, height, guidePitch},
                               {input, width, height, inputPitch},
                               {output, width, height, outputPitch}};
  const Smoothing smoothing = {radius, eps};
  if (!isFilterable<Model>(planes, smoothing) || factor < 1 || factor > kLargestFactor) {
    return TLUX_ERR_INVALID_PARAM;
  }
  if (isEmpty(width, height)) return TLUX_OK;
  return codeOf(filterReduced(manager, planes, smoothing, factor));
}

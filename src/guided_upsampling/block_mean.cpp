// The fast guided filter (windows of 2r × 2r, edges repeated): smoothing of coefficients.
#include "guided_upsampling/block_mean.hpp"

#include <algorithm>
#include <array>
#include <cstddef>

#include "base/multiversion.hpp"
#include "base/result.hpp"
#include "guided_upsampling/window_sums.hpp"
#include "platform/scratch.hpp"
#include "tlux/fast_guided_filter.h"

namespace tlux::detail {
namespace {

struct MapRow {
  const std::int32_t* samples;

  std::array<std::uint32_t, 1> operator()(std::ptrdiff_t x) const {
    return {static_cast<std::uint32_t>(samples[x])};
  }
};

struct MapRows {
  Plane<const std::int32_t> map;

  MapRow operator()(std::int32_t y) const { return {map.row(y)}; }
};

using MapSums = WindowSums<std::uint32_t, 1, MapRows>;

struct FloatRow {
  const float* samples;

  std::array<double, 2> operator()(std::ptrdiff_t x) const {
    const double sample = static_cast<double>(samples[x]);
    return {sample, sample * sample};
  }
};

struct FloatRows {
  Plane<const float> plane;

  FloatRow operator()(std::int32_t y) const { return {plane.row(y)}; }
};

using FloatSums = WindowSums<double, 2, FloatRows>;

template <class Mean>
TLUX_INLINED void writeAllMeans(MapSums& windows, Band rows, Band clampRows, Mean mean,
                                std::ptrdiff_t width, std::int32_t* destination) {
  windows.slide(rows, clampRows,
                [&](std::int32_t y, const std::array<std::uint32_t*, 1>& sums) TLUX_INLINED_LAMBDA {
                  const std::uint32_t* __restrict sum = sums[0];
                  std::int32_t* __restrict row = destination + y * width;
                  for (std::ptrdiff_t x = 0; x < width; ++x) {
                    row[x] = mean(static_cast<std::int32_t>(sum[x]));
                  }
                  return true;
                });
}

TLUX_MULTIVERSION void writeMapMeans(MapSums& windows, Band rows, Band clampRows, ShiftedMean mean,
                                     std::ptrdiff_t width, std::int32_t* destination) {
  writeAllMeans(windows, rows, clampRows, mean, width, destination);
}

TLUX_MULTIVERSION void writeMapMeans(MapSums& windows, Band rows, Band clampRows,
                                     TruncatedMean mean, std::ptrdiff_t width,
                                     std::int32_t* destination) {
  writeAllMeans(windows, rows, clampRows, mean, width, destination);
}

// Box means of `rows`, with window rows clamped to `clampRows`.
Result boxMeans(MMemMgr manager, Band rows, Band clampRows, Plane<const std::int32_t> source,
                std::int32_t* destination, std::int32_t radius) {
  if (rows.first >= rows.end) return Result::kOk;
  const Scratch<std::uint32_t> scratch(manager, MapSums::scratchCount(source.width, radius));
  if (!scratch) return Result::kNoMemory;
  MapSums windows(scratch.get(), source.width, radius, {source});
  withMeanFor(radius, [&](auto mean) {
    writeMapMeans(windows, rows, clampRows, mean, source.width, destination);
  });
  return Result::kOk;
}

Result meanAndVariance(MMemMgr manager, Plane<const float> source, float* meanOut,
                       float* varianceOut, std::int32_t radius) {
  const std::int32_t width = source.width;
  const Scratch<double> scratch(manager, FloatSums::scratchCount(width, radius));
  if (!scratch) return Result::kNoMemory;
  const double area = windowArea(radius);
  const Band rows = {0, source.height};
  FloatSums windows(scratch.get(), width, radius, {source});
  windows.slide(rows, rows, [&](std::int32_t y, const std::array<double*, 2>& sums) {
    const std::ptrdiff_t row = std::ptrdiff_t{y} * width;
    for (std::ptrdiff_t x = 0; x < width; ++x) {
      const double mean = sums[0][x] / area;
      const double variance = sums[1][x] / area - mean * mean;
      meanOut[row + x] = static_cast<float>(mean);
      varianceOut[row + x] = static_cast<float>(std::max(variance, 0.0));
    }
    return true;
  });
  return Result::kOk;
}

std::int32_t threeTapMean(std::int32_t left, std::int32_t centre, std::int32_t right) {
  return wrappingAdd(wrappingAdd(left, centre), right) / 3;
}

TLUX_MULTIVERSION void threeTapRows(Band rows, Plane<const std::int32_t> source,
                                    std::int32_t* destination) {
  const std::ptrdiff_t width = source.width;
  for (std::int32_t y = rows.first; y < rows.end; ++y) {
    const std::int32_t* __restrict in = source.row(y);
    std::int32_t* __restrict out = destination + y * width;
    if (width == 1) {
      out[0] = threeTapMean(in[0], in[0], in[0]);
      continue;
    }
    out[0] = threeTapMean(in[0], in[0], in[1]);
    for (std::ptrdiff_t x = 1; x < width - 1; ++x) {
      out[x] = threeTapMean(in[x - 1], in[x], in[x + 1]);
    }
    out[width - 1] = threeTapMean(in[width - 2], in[width - 1], in[width - 1]);
  }
}

// The part of rows [first, end) that lies in a band.
Band within(Band band, std::int64_t first, std::int64_t end) {
  const auto clamped = [band](std::int64_t y) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(y, band.first, band.end));
  };
  return {clamped(first), clamped(end)};
}

} // namespace

std::int64_t blockMeanScratchBytes(std::int32_t width, std::int32_t radius) {
  return MapSums::scratchCount(width, radius) * std::int64_t{sizeof(std::uint32_t)};
}

Result smoothBand(MMemMgr manager, SmoothedBand band, Plane<const std::int32_t> source,
                  std::int32_t* destination, std::int32_t radius) {
  const std::int64_t first = band.first;
  const std::int64_t end = first + band.rows;
  const Band own = within({0, source.height}, first, end); // the box never leaves it
  threeTapRows(within(band.writable, first, first + radius), source, destination);
  threeTapRows(within(band.writable, end - radius, own.end), source, destination);
  const Band middle = within(own, first + radius, end - radius);
  return boxMeans(manager, middle, own, source, destination, radius);
}

} // namespace tlux::detail

using namespace tlux::detail;

namespace {

constexpr std::ptrdiff_t bytesOf(int32_t stride) {
  return static_cast<std::ptrdiff_t>(stride) * 4;
}

} // namespace

uint32_t BlockMeanVarIntMTBorder(MMemMgr memMgr, int32_t startRow, int32_t bandRows,
                                 const int32_t* src, int32_t height, int32_t width,
                                 int32_t srcRowStride, int32_t* dst, int32_t radius) noexcept {
  if (src == nullptr || dst == nullptr || startRow < 0 || srcRowStride < width ||
      !isWindowRadius(radius)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  if (height < 1 || width < 1 || bandRows < 1) return TLUX_OK;
  return codeOf(smoothBand(memMgr, {startRow, bandRows, {0, height}},
                           {src, width, height, bytesOf(srcRowStride)}, dst, radius));
}

uint32_t BlockMeanVarIntMT(MMemMgr memMgr, int32_t startRow, int32_t bandRows, const int32_t* src,
                           int32_t height, int32_t width, int32_t stride, int32_t* dst,
                           int32_t radius) noexcept {
  if (src == nullptr || dst == nullptr || startRow < 0 || stride < width ||
      !isWindowRadius(radius)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  if (height < 1 || width < 1 || bandRows < 1) return TLUX_OK;
  const Band image = {0, height};
  const Band rows = within(image, startRow, std::int64_t{startRow} + bandRows);
  return codeOf(boxMeans(memMgr, rows, image, {src, width, height, bytesOf(stride)}, dst, radius));
}

uint32_t BlockMeanVar(MMemMgr memMgr, const float* src, int32_t height, int32_t width,
                      int32_t stride, float* meanOut, float* varOut, int32_t radius) noexcept {
  if (src == nullptr || meanOut == nullptr || varOut == nullptr || stride < width ||
      !isWindowRadius(radius)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  if (height < 1 || width < 1) return TLUX_OK;
  const Plane<const float> plane = {src, width, height, bytesOf(stride)};
  return codeOf(meanAndVariance(memMgr, plane, meanOut, varOut, radius));
}

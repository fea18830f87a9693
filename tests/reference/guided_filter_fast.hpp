#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "reference/loops.hpp"

// The fast guided filter from its formulas: every window is summed separately, and every
// full-resolution sample interpolated separately.
namespace tlux::reference {

// Sum of sample(x, y) over the 2r × 2r window of (x, y), columns clamped to the width and rows to
// [firstRow, endRow), in 32 bits that wrap.
template <class Sample>
std::int32_t windowSum(int x, int y, int radius, int width, int firstRow, int endRow,
                       Sample sample) {
  std::uint32_t sum = 0;
  forEachIn(x - radius, y - radius, x + radius, y + radius, [&](int u, int v) {
    sum += static_cast<std::uint32_t>(
        sample(std::clamp(u, 0, width - 1), std::clamp(v, firstRow, endRow - 1)));
  });
  return static_cast<std::int32_t>(sum);
}

struct GuideLine {
  std::int32_t a;
  std::int32_t b;
  bool solvable;
};

// Slope and offset of one window, in Q10.
inline GuideLine guideCoefficients(const std::uint8_t* input, const std::uint8_t* guide, int x,
                                   int y, int width, int height, int pitch, int radius, int eps) {
  std::uint32_t guides = 0;
  std::uint32_t inputs = 0;
  std::uint32_t squares = 0;
  std::uint32_t products = 0;
  for (int v = y - radius; v < y + radius; ++v) {
    const std::ptrdiff_t row = std::ptrdiff_t{std::clamp(v, 0, height - 1)} * pitch;
    for (int u = x - radius; u < x + radius; ++u) {
      const std::ptrdiff_t at = row + std::clamp(u, 0, width - 1);
      const std::uint32_t i = guide[at];
      const std::uint32_t p = input[at];
      guides += i;
      inputs += p;
      squares += i * i;
      products += i * p;
    }
  }
  const auto mean = [&](std::uint32_t sum) {
    return static_cast<std::int32_t>(sum) / (4 * radius * radius);
  };
  const int meanGuide = mean(guides);
  const int meanInput = mean(inputs);
  const int variance = mean(squares) - meanGuide * meanGuide;
  const int covariance = mean(products) - meanInput * meanGuide;
  if (variance < 0 || variance + eps == 0) return {0, 0, false};
  const int a = covariance * 1024 / (variance + eps);
  return {a, meanInput * 1024 - meanGuide * a, true};
}

// One sample of a map smoothed in rows [firstRow, firstRow + bandRows), cut at the height.
inline std::int32_t smoothedInBand(const std::int32_t* map, int x, int y, int width, int height,
                                   int stride, int firstRow, int bandRows, int radius) {
  const auto sample = [&](int u, int v) { return map[std::ptrdiff_t{v} * stride + u]; };
  if (y < firstRow + radius || y >= firstRow + bandRows - radius) {
    std::uint32_t sum = 0;
    for (int u = x - 1; u <= x + 1; ++u)
      sum += static_cast<std::uint32_t>(sample(std::clamp(u, 0, width - 1), y));
    return static_cast<std::int32_t>(sum) / 3;
  }
  return windowSum(x, y, radius, width, firstRow, std::min(firstRow + bandRows, height), sample) /
         (4 * radius * radius);
}

// The value j/8 of the way from m to n, rounded down.
inline std::int32_t interpolateEighths(std::int32_t m, std::int32_t n, int j) {
  return static_cast<std::int32_t>((std::int64_t{8 - j} * m + std::int64_t{j} * n) >> 3);
}

// Sample (x, y) of a packed map enlarged ×8; the row below lastRow is lastRow itself.
inline std::int32_t enlarged(const std::int32_t* map, int width, int lastRow, int x, int y) {
  const auto alongRow = [&](int row) {
    const std::int32_t* samples = map + std::ptrdiff_t{row} * width;
    return interpolateEighths(samples[x / 8], samples[std::min(x / 8 + 1, width - 1)], x % 8);
  };
  return interpolateEighths(alongRow(y / 8), alongRow(std::min(y / 8 + 1, lastRow)), y % 8);
}

// Calls emit(x, y, value) for each full-resolution sample that the filter writes, value being the
// unclamped (a · guide + b) >> 10.
template <class Emit>
void guidedUpsampling(const std::uint8_t* input, const std::uint8_t* guide,
                      const std::uint8_t* fullGuide, int width, int height, int lowPitch,
                      int fullGuidePitch, int radius, int eps, Emit emit) {
  const auto samples = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  const int bandRows = (height + height % 4) / 4;
  for (int band = 0; band < 4; ++band) {
    const int first = band * bandRows;
    const int end = std::min(first + bandRows, height);
    std::vector<std::int32_t> maps[2] = {std::vector<std::int32_t>(samples),
                                         std::vector<std::int32_t>(samples)};
    forEachIn(0, first, width, end, [&](int x, int y) {
      const GuideLine raw =
          guideCoefficients(input, guide, x, y, width, height, lowPitch, radius, eps);
      maps[0][y * width + x] = raw.a;
      maps[1][y * width + x] = raw.b;
    });
    for (std::vector<std::int32_t>& map : maps) {
      const std::vector<std::int32_t> raw = map;
      forEachIn(0, first, width, end, [&](int x, int y) {
        map[y * width + x] =
            smoothedInBand(raw.data(), x, y, width, height, width, first, bandRows, radius);
      });
    }
    forEachIn(0, 8 * first, 8 * width, 8 * end, [&](int x, int y) {
      const std::int32_t a = enlarged(maps[0].data(), width, end - 1, x, y);
      const std::int32_t b = enlarged(maps[1].data(), width, end - 1, x, y);
      emit(x, y, (b + fullGuide[std::ptrdiff_t{y} * fullGuidePitch + x] * a) >> 10);
    });
  }
}

inline void fastGuidedFilter(const std::uint8_t* input, const std::uint8_t* guide,
                             const std::uint8_t* fullGuide, std::uint8_t* fullOut, int width,
                             int height, int lowPitch, int fullGuidePitch, int fullOutPitch,
                             int radius, int eps) {
  guidedUpsampling(input, guide, fullGuide, width, height, lowPitch, fullGuidePitch, radius, eps,
                   [&](int x, int y, int value) {
                     fullOut[std::ptrdiff_t{y} * fullOutPitch + x] =
                         static_cast<std::uint8_t>(std::clamp(value, 0, 255));
                   });
}

} // namespace tlux::reference

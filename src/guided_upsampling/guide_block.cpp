#include "guided_upsampling/guide_block.hpp"

#include <algorithm>
#include <array>
#include <cstddef>

#include "base/multiversion.hpp"
#include "guided_upsampling/guide_sums.hpp"
#include "platform/scratch.hpp"
#include "tlux/fast_guided_filter.h"

namespace tlux {
namespace {

using SumRows = std::array<std::uint32_t*, 4>;

// Replaces the four sums of each window by its guide mean, input mean, covariance and variance. The
// sums are read as signed, the rest wraps: for radii up to 90 nothing comes near 32 bits.
template <class Mean>
[[gnu::always_inline]] inline void momentsOf(const SumRows& sums, Mean mean, std::ptrdiff_t width) {
  std::uint32_t* __restrict guide = sums[0];
  std::uint32_t* __restrict input = sums[1];
  std::uint32_t* __restrict guideSquare = sums[2];
  std::uint32_t* __restrict product = sums[3];
  const auto meanOf = [mean](std::uint32_t sum) {
    return static_cast<std::uint32_t>(mean(static_cast<std::int32_t>(sum)));
  };
  for (std::ptrdiff_t x = 0; x < width; ++x) {
    const std::uint32_t meanI = meanOf(guide[x]);
    const std::uint32_t meanP = meanOf(input[x]);
    guideSquare[x] = meanOf(guideSquare[x]) - meanI * meanI;
    product[x] = meanOf(product[x]) - meanP * meanI;
    guide[x] = meanI;
    input[x] = meanP;
  }
}

// What the moments of a row are like.
struct RowKind {
  std::ptrdiff_t
      solvable; // windows before the first with a negative variance or a zero denominator
  bool isShort; // for solveShortRow()
};

constexpr std::int32_t kLargestCovariance = (1 << 14) - 1;
constexpr std::int32_t kLargestDenominator = (1 << 24) - 1;

[[gnu::always_inline]] inline RowKind kindOf(const SumRows& moments, std::uint32_t eps,
                                             std::ptrdiff_t width) {
  const std::uint32_t* __restrict variance = moments[2];
  const std::uint32_t* __restrict covariance = moments[3];
  const auto isBad = [eps](std::uint32_t v) {
    return static_cast<std::int32_t>(v) < 0 || v + eps == 0;
  };
  unsigned bad = 0;
  unsigned large = 0;
  for (std::ptrdiff_t x = 0; x < width; ++x) {
    bad |= isBad(variance[x]) ? 1u : 0u;
    large |= variance[x] + eps > kLargestDenominator ? 1u : 0u;
    large |= covariance[x] + kLargestCovariance > 2 * kLargestCovariance ? 1u : 0u;
  }
  const std::ptrdiff_t solvable =
      bad == 0 ? width : std::find_if(variance, variance + width, isBad) - variance;
  return {solvable, bad == 0 && large == 0};
}

// As solveRow(), for quotients whose operands are below 2^24 and thus exact as floats: the float
// quotient's rounding error is at most 2^-24 of a dividend below 2^24, over the divisor d, so below
// 1/d; a quotient that is no integer is at least 1/d away from the next.
[[gnu::always_inline]] inline void solveShortRow(const SumRows& moments, std::uint32_t eps,
                                                 std::int32_t* __restrict aRow,
                                                 std::int32_t* __restrict bRow,
                                                 std::ptrdiff_t count) {
  const std::uint32_t* __restrict meanI = moments[0];
  const std::uint32_t* __restrict meanP = moments[1];
  const std::uint32_t* __restrict variance = moments[2];
  const std::uint32_t* __restrict covariance = moments[3];
  for (std::ptrdiff_t x = 0; x < count; ++x) {
    const auto dividend = static_cast<float>(static_cast<std::int32_t>(covariance[x] * 1024));
    const auto divisor = static_cast<float>(static_cast<std::int32_t>(variance[x] + eps));
    const auto a = static_cast<std::int32_t>(dividend / divisor);
    aRow[x] = a;
    bRow[x] = static_cast<std::int32_t>(meanP[x] * 1024 - meanI[x] * static_cast<std::uint32_t>(a));
  }
}

// a = covariance · 1024 / (variance + eps), truncated toward zero, and b = meanP · 1024 − meanI ·
// a.
//
// The double quotient truncates to the exact one: both operands are exact, its rounding error is
// below 2^-53 of a quotient under 2^31, and a quotient that is no integer is at least 1 / 2^31 away
// from the next. −2^31 / −1 saturates.
[[gnu::always_inline]] inline void solveRow(const SumRows& moments, std::uint32_t eps,
                                            std::int32_t* __restrict aRow,
                                            std::int32_t* __restrict bRow, std::ptrdiff_t count) {
  const std::uint32_t* __restrict meanI = moments[0];
  const std::uint32_t* __restrict meanP = moments[1];
  const std::uint32_t* __restrict variance = moments[2];
  const std::uint32_t* __restrict covariance = moments[3];
  for (std::ptrdiff_t x = 0; x < count; ++x) {
    const auto dividend = static_cast<std::int32_t>(covariance[x] * 1024);
    const auto divisor = static_cast<std::int32_t>(variance[x] + eps);
    const double quotient = static_cast<double>(dividend) / static_cast<double>(divisor);
    const auto a = static_cast<std::int32_t>(quotient < 2147483647.0 ? quotient : 2147483647.0);
    aRow[x] = a;
    bRow[x] = static_cast<std::int32_t>(meanP[x] * 1024 - meanI[x] * static_cast<std::uint32_t>(a));
  }
}

using ByteSums = GuideSums<std::uint8_t, std::uint32_t>;

// Where the coefficients of the windows go.
struct SolvedMaps {
  std::int32_t* a;
  std::int32_t* b;
  std::ptrdiff_t width;
  std::uint32_t eps;
};

template <class Mean>
[[gnu::always_inline]] inline bool solveAllRows(ByteSums& windows, Band rows, Band image, Mean mean,
                                                const SolvedMaps& out) {
  return windows.slide(
      rows, image, [&](std::int32_t y, const SumRows& sums) __attribute__((always_inline)) {
        momentsOf(sums, mean, out.width);
        const RowKind kind = kindOf(sums, out.eps, out.width);
        std::int32_t* const a = out.a + y * out.width;
        std::int32_t* const b = out.b + y * out.width;
        if (kind.isShort) {
          solveShortRow(sums, out.eps, a, b, out.width);
        } else {
          solveRow(sums, out.eps, a, b, kind.solvable);
        }
        return kind.solvable == out.width;
      });
}

TLUX_MULTIVERSION bool solveRows(ByteSums& windows, Band rows, Band image, ShiftedMean mean,
                                 const SolvedMaps& out) {
  return solveAllRows(windows, rows, image, mean, out);
}

TLUX_MULTIVERSION bool solveRows(ByteSums& windows, Band rows, Band image, TruncatedMean mean,
                                 const SolvedMaps& out) {
  return solveAllRows(windows, rows, image, mean, out);
}

} // namespace

std::int64_t guideBlockScratchBytes(std::int32_t width, std::int32_t radius) {
  return ByteSums::scratchCount(width, radius) * std::int64_t{sizeof(std::uint32_t)};
}

std::uint32_t guideBlock(MMemMgr manager, Band rows, Plane<const std::uint8_t> input,
                         Plane<const std::uint8_t> guide, std::int32_t* a, std::int32_t* b,
                         std::int32_t radius, std::int32_t eps) {
  const Scratch<std::uint32_t> scratch(manager, ByteSums::scratchCount(input.width, radius));
  if (!scratch) return TLUX_ERR_NO_MEMORY;
  ByteSums windows(scratch.get(), input.width, radius, {input, guide});
  const SolvedMaps out = {a, b, input.width, static_cast<std::uint32_t>(eps)};
  const Band image = {0, input.height};
  const bool solved =
      withMeanFor(radius, [&](auto mean) { return solveRows(windows, rows, image, mean, out); });
  return solved ? TLUX_OK : TLUX_GUIDE_UNSOLVABLE;
}

std::uint32_t guideBlock(MMemMgr manager, Plane<const float> input, Plane<const float> guide,
                         float* a, float* b, std::int32_t radius, float eps) {
  using Sums = GuideSums<float, double>; // products of floats are exact in double
  const std::int32_t width = input.width;
  const Scratch<double> scratch(manager, Sums::scratchCount(width, radius));
  if (!scratch) return TLUX_ERR_NO_MEMORY;

  const double area = windowArea(radius);
  Sums windows(scratch.get(), width, radius, {input, guide});
  const Band rows = {0, input.height};
  const bool solved =
      windows.slide(rows, rows, [&](std::int32_t y, const std::array<double*, 4>& sums) {
        const std::ptrdiff_t row = std::ptrdiff_t{y} * width;
        for (std::ptrdiff_t x = 0; x < width; ++x) {
          const double meanI = sums[0][x] / area;
          const double meanP = sums[1][x] / area;
          const double variance = std::max(sums[2][x] / area - meanI * meanI, 0.0);
          const double denominator = variance + static_cast<double>(eps);
          if (denominator == 0.0) return false;
          const double slope = (sums[3][x] / area - meanP * meanI) / denominator;
          a[row + x] = static_cast<float>(slope);
          b[row + x] = static_cast<float>(meanP - slope * meanI);
        }
        return true;
      });
  return solved ? TLUX_OK : TLUX_GUIDE_UNSOLVABLE;
}

} // namespace tlux

uint32_t GuideBlockIntMT(MMemMgr memMgr, int32_t startRow, int32_t bandRows, const uint8_t* input,
                         const uint8_t* guide, int32_t lowH, int32_t lowW, int32_t lowPitch,
                         int32_t* aOut, int32_t* bOut, int32_t radius, int32_t eps) noexcept {
  if (input == nullptr || guide == nullptr || aOut == nullptr || bOut == nullptr || startRow < 0 ||
      lowPitch < lowW || !tlux::isWindowRadius(radius)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  if (lowH < 1 || lowW < 1 || bandRows < 1 || startRow >= lowH) return TLUX_OK;
  const tlux::Band rows = {startRow, bandRows < lowH - startRow ? startRow + bandRows : lowH};
  return tlux::guideBlock(memMgr, rows, {input, lowW, lowH, lowPitch},
                          {guide, lowW, lowH, lowPitch}, aOut, bOut, radius, eps);
}

uint32_t GuideBlock(MMemMgr memMgr, const float* p, const float* I, int32_t height, int32_t width,
                    int32_t stride, float* aOut, float* bOut, int32_t radius, float eps) noexcept {
  if (p == nullptr || I == nullptr || aOut == nullptr || bOut == nullptr || stride < width ||
      !tlux::isWindowRadius(radius)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  if (height < 1 || width < 1) return TLUX_OK;
  const auto pitch = static_cast<std::ptrdiff_t>(stride) * std::ptrdiff_t{sizeof(float)};
  return tlux::guideBlock(memMgr, {p, width, height, pitch}, {I, width, height, pitch}, aOut, bOut,
                          radius, eps);
}

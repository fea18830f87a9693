// The fast guided filter (windows of 2r × 2r, edges repeated): coefficients of a block.
#include "guided_upsampling/guide_block.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>

#include "base/multiversion.hpp"
#include "base/result.hpp"
#include "guided_upsampling/guide_sums.hpp"
#include "platform/scratch.hpp"
#include "tlux/fast_guided_filter.h"

namespace tlux::detail {
namespace {

using SumRows = std::array<std::uint32_t*, 4>;

// Sums of larger windows may exceed 31 bits.
constexpr std::int32_t kLargestPlainRadius = 90;

struct Moments {
  std::uint32_t guide; // means
  std::uint32_t input;
  std::uint32_t covariance;
  std::uint32_t variance;
};

// The sums are read as signed, everything else wraps.
template <class Mean>
TLUX_INLINED Moments momentsOf(Mean mean, std::uint32_t guide, std::uint32_t input,
                               std::uint32_t guideSquare, std::uint32_t product) {
  const auto meanOf = [mean](std::uint32_t sum) {
    return static_cast<std::uint32_t>(mean(static_cast<std::int32_t>(sum)));
  };
  const std::uint32_t meanI = meanOf(guide);
  const std::uint32_t meanP = meanOf(input);
  return {meanI, meanP, meanOf(product) - meanP * meanI, meanOf(guideSquare) - meanI * meanI};
}

// b = meanP · 1024 − meanI · a
inline std::int32_t offsetFor(const Moments& moments, std::int32_t a) {
  return static_cast<std::int32_t>(moments.input * 1024 -
                                   moments.guide * static_cast<std::uint32_t>(a));
}

// A negative variance or a zero denominator.
inline bool isUnsolvable(std::uint32_t variance, std::uint32_t eps) {
  return static_cast<std::int32_t>(variance) < 0 || variance + eps == 0;
}

constexpr std::int32_t kLargestCovariance = (1 << 14) - 1;
constexpr std::int32_t kLargestDenominator = (1 << 24) - 1;

// As solveRow(), for rows whose windows all have a solution and where the operands of all quotients
// are below 2^24 and so exact as floats. The rounding error of the float quotient is at most 2^-24
// of a dividend below 2^24, over the divisor d, so below 1/d; a quotient that is no integer is at
// least 1/d away from the next. False if an operand is larger: the row is left to solveRow().
template <class Mean>
TLUX_INLINED bool solveShortRow(const SumRows& sums, Mean mean, std::uint32_t eps,
                                std::int32_t* __restrict aRow, std::int32_t* __restrict bRow,
                                std::ptrdiff_t count) {
  const std::uint32_t* __restrict guide = sums[0];
  const std::uint32_t* __restrict input = sums[1];
  const std::uint32_t* __restrict guideSquare = sums[2];
  const std::uint32_t* __restrict product = sums[3];
  unsigned others = 0;
  for (std::ptrdiff_t x = 0; x < count; ++x) {
    const Moments m = momentsOf(mean, guide[x], input[x], guideSquare[x], product[x]);
    const bool isShort = (m.variance + eps <= kLargestDenominator) &
                         (m.covariance + kLargestCovariance <= 2 * kLargestCovariance);
    others |= isShort ? 0u : 1u;
    const auto dividend = static_cast<float>(static_cast<std::int32_t>(m.covariance * 1024));
    const auto divisor = static_cast<float>(static_cast<std::int32_t>(m.variance + eps));
    const auto a = static_cast<std::int32_t>((isShort ? dividend : 0) / (isShort ? divisor : 1));
    aRow[x] = a;
    bRow[x] = offsetFor(m, a);
  }
  return others == 0;
}

// a = covariance · 1024 / (variance + eps), truncated toward zero. Stops before the first window
// without a solution; returns how many were solved.
//
// Truncating the double quotient is exact: both operands are exact, its rounding error is below
// 2^-53 of a quotient under 2^31, and a quotient that is no integer is at least 1 / 2^31 away from
// the next. −2^31 / −1 saturates.
template <class Mean>
TLUX_INLINED std::ptrdiff_t solveRow(const SumRows& sums, Mean mean, std::uint32_t eps,
                                     std::int32_t* __restrict aRow, std::int32_t* __restrict bRow,
                                     std::ptrdiff_t count) {
  for (std::ptrdiff_t x = 0; x < count; ++x) {
    const Moments m = momentsOf(mean, sums[0][x], sums[1][x], sums[2][x], sums[3][x]);
    if (isUnsolvable(m.variance, eps)) return x;
    const auto dividend = static_cast<std::int32_t>(m.covariance * 1024);
    const auto divisor = static_cast<std::int32_t>(m.variance + eps);
    const double quotient = static_cast<double>(dividend) / static_cast<double>(divisor);
    const auto a = static_cast<std::int32_t>(quotient < 2147483647.0 ? quotient : 2147483647.0);
    aRow[x] = a;
    bRow[x] = offsetFor(m, a);
  }
  return count;
}

using ByteSums = GuideSums<std::uint8_t, std::uint32_t>;

// Where the coefficients of the windows go.
struct SolvedMaps {
  std::int32_t* a;
  std::int32_t* b;
  std::ptrdiff_t width;
  std::uint32_t eps;
  bool isSolvable; // every window has a solution
};

template <class Mean>
TLUX_INLINED bool solveAllRows(ByteSums& windows, Band rows, Band image, Mean mean,
                               const SolvedMaps& out) {
  return windows.slide(rows, image, [&](std::int32_t y, const SumRows& sums) TLUX_INLINED_LAMBDA {
    std::int32_t* const a = out.a + y * out.width;
    std::int32_t* const b = out.b + y * out.width;
    return (out.isSolvable && solveShortRow(sums, mean, out.eps, a, b, out.width)) ||
           solveRow(sums, mean, out.eps, a, b, out.width) == out.width;
  });
}

TLUX_MULTIVERSION bool solveRows(ByteSums& windows, Band rows, Band image, ShiftedMean mean,
                                 const SolvedMaps& out) {
  return solveAllRows(windows, rows, image, mean, out);
}

TLUX_MULTIVERSION bool solveRows(ByteSums& windows, Band rows, Band image, UnsignedShiftedMean mean,
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

Result guideBlock(MMemMgr manager, Band rows, Plane<const std::uint8_t> input,
                  Plane<const std::uint8_t> guide, std::int32_t* a, std::int32_t* b,
                  std::int32_t radius, std::int32_t eps) {
  const Scratch<std::uint32_t> scratch(manager, ByteSums::scratchCount(input.width, radius));
  if (!scratch) return Result::kNoMemory;
  ByteSums windows(scratch.get(), input.width, radius, {input, guide});
  // Then no mean square is below the square of the mean.
  const bool isSolvable = eps > 0 && radius <= kLargestPlainRadius;
  const SolvedMaps out = {a, b, input.width, static_cast<std::uint32_t>(eps), isSolvable};
  const Band image = {0, input.height};
  const auto solve = [&](auto mean) { return solveRows(windows, rows, image, mean, out); };
  const std::int32_t area = windowArea(radius);
  const bool solved =
      radius <= kLargestPlainRadius && std::has_single_bit(static_cast<std::uint32_t>(area))
          ? solve(UnsignedShiftedMean(area))
          : withMeanFor(radius, solve);
  return solved ? Result::kOk : Result::kUnsolvable;
}

Result guideBlock(MMemMgr manager, Plane<const float> input, Plane<const float> guide, float* a,
                  float* b, std::int32_t radius, float eps) {
  using Sums = GuideSums<float, double>; // products of floats are exact in double
  const std::int32_t width = input.width;
  const Scratch<double> scratch(manager, Sums::scratchCount(width, radius));
  if (!scratch) return Result::kNoMemory;

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
  return solved ? Result::kOk : Result::kUnsolvable;
}

} // namespace tlux::detail

using namespace tlux::detail;

uint32_t GuideBlockIntMT(MMemMgr memMgr, int32_t startRow, int32_t bandRows, const uint8_t* input,
                         const uint8_t* guide, int32_t lowH, int32_t lowW, int32_t lowPitch,
                         int32_t* aOut, int32_t* bOut, int32_t radius, int32_t eps) noexcept {
  if (input == nullptr || guide == nullptr || aOut == nullptr || bOut == nullptr || startRow < 0 ||
      lowPitch < lowW || !isWindowRadius(radius)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  if (lowH < 1 || lowW < 1 || bandRows < 1 || startRow >= lowH) return TLUX_OK;
  const Band rows = {startRow, bandRows < lowH - startRow ? startRow + bandRows : lowH};
  return codeOf(guideBlock(memMgr, rows, {input, lowW, lowH, lowPitch},
                           {guide, lowW, lowH, lowPitch}, aOut, bOut, radius, eps));
}

uint32_t GuideBlock(MMemMgr memMgr, const float* p, const float* I, int32_t height, int32_t width,
                    int32_t stride, float* aOut, float* bOut, int32_t radius, float eps) noexcept {
  if (p == nullptr || I == nullptr || aOut == nullptr || bOut == nullptr || stride < width ||
      !isWindowRadius(radius)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  if (height < 1 || width < 1) return TLUX_OK;
  const auto pitch = static_cast<std::ptrdiff_t>(stride) * std::ptrdiff_t{sizeof(float)};
  return codeOf(guideBlock(memMgr, {p, width, height, pitch}, {I, width, height, pitch}, aOut, bOut,
                           radius, eps));
}

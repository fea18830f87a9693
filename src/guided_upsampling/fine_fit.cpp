// The fast guided filter (windows of 2r × 2r, edges repeated): unrounded coefficients.
#include "guided_upsampling/fine_fit.hpp"

#include <algorithm>
#include <array>

#include "base/multiversion.hpp"
#include "guided_upsampling/guide_sums.hpp"
#include "platform/scratch.hpp"

namespace tlux::detail {
namespace {

using FineSums = GuideSums<std::uint8_t, std::uint32_t>;

constexpr double kArea = windowArea(kFineRadius);
constexpr int kShiftA = 10;     // mean in Q10 from sums of 1024 numbers in Q10
constexpr int kShiftB = 10 - 2; // from Q8 to Q10

// Added to b so that truncating results to whole codes rounds them: half a code, plus what the
// enlargement truncates from a, 7/16 of 2^-10 on average along rows and again down columns, at a
// mid code.
constexpr std::int32_t kRounding = 512 + 2 * 7 * 112 / 16;

struct FineMaps {
  std::int32_t* a;
  std::int32_t* b;
  std::ptrdiff_t width;
  double eps; // · area²
};

std::int32_t roundedTo(double value) {
  return static_cast<std::int32_t>(value + (value < 0 ? -0.5 : 0.5));
}

// Sums of at most 1024 · 255² and their products with 1024 and each other are whole numbers below
// 2^53, which doubles hold exactly.
TLUX_INLINED void solveFinely(const std::array<std::uint32_t*, 4>& sums, const FineMaps& out,
                              std::ptrdiff_t row) {
  const std::uint32_t* __restrict guide = sums[0];
  const std::uint32_t* __restrict input = sums[1];
  const std::uint32_t* __restrict guideSquare = sums[2];
  const std::uint32_t* __restrict product = sums[3];
  std::int32_t* __restrict aRow = out.a + row;
  std::int32_t* __restrict bRow = out.b + row;
  const auto toDouble = [](std::uint32_t sum) {
    return static_cast<double>(static_cast<std::int32_t>(sum)); // has a vector instruction
  };
  for (std::ptrdiff_t x = 0; x < out.width; ++x) {
    const double i = toDouble(guide[x]);
    const double p = toDouble(input[x]);
    const double variance = kArea * toDouble(guideSquare[x]) - i * i;
    const double covariance = kArea * toDouble(product[x]) - i * p;
    const std::int32_t a = roundedTo(1024 * covariance / (variance + out.eps));
    aRow[x] = a;
    bRow[x] = roundedTo((1024 * p - a * i) * (256 / 1024.0 / kArea));
  }
}

TLUX_MULTIVERSION void solveFineRows(FineSums& windows, Band rows, Band image,
                                     const FineMaps& out) {
  windows.slide(rows, image,
                [&](std::int32_t y, const std::array<std::uint32_t*, 4>& sums) TLUX_INLINED_LAMBDA {
                  solveFinely(sums, out, y * out.width);
                  return true;
                });
}

struct FittedRow {
  const std::int32_t* a;
  const std::int32_t* b;

  std::array<std::uint32_t, 2> operator()(std::ptrdiff_t x) const {
    return {static_cast<std::uint32_t>(a[x]), static_cast<std::uint32_t>(b[x])};
  }
};

struct FittedRows {
  Plane<const std::int32_t> a;
  Plane<const std::int32_t> b;

  FittedRow operator()(std::int32_t y) const { return {a.row(y), b.row(y)}; }
};

using CoefficientSums = WindowSums<std::uint32_t, 2, FittedRows>;

template <int kShift>
TLUX_INLINED void writeRounded(const std::uint32_t* __restrict sums, std::ptrdiff_t width,
                               std::int32_t more, std::int32_t* __restrict out) {
  for (std::ptrdiff_t x = 0; x < width; ++x) {
    out[x] = ((static_cast<std::int32_t>(sums[x]) + (1 << (kShift - 1))) >> kShift) + more;
  }
}

TLUX_MULTIVERSION void smoothFineRows(CoefficientSums& windows, Band rows, Band image,
                                      std::ptrdiff_t width, std::int32_t* smoothA,
                                      std::int32_t* smoothB) {
  windows.slide(rows, image,
                [&](std::int32_t y, const std::array<std::uint32_t*, 2>& sums) TLUX_INLINED_LAMBDA {
                  writeRounded<kShiftA>(sums[0], width, 0, smoothA + y * width);
                  writeRounded<kShiftB>(sums[1], width, kRounding, smoothB + y * width);
                  return true;
                });
}

} // namespace

std::int64_t fineFitScratchBytes(std::int32_t width) {
  return std::max(FineSums::scratchCount(width, kFineRadius),
                  CoefficientSums::scratchCount(width, kFineRadius)) *
         std::int64_t{sizeof(std::uint32_t)};
}

Result fitFinely(MMemMgr manager, Band rows, Plane<const std::uint8_t> input,
                 Plane<const std::uint8_t> guide, std::int32_t eps, std::int32_t* a,
                 std::int32_t* b) {
  const Scratch<std::uint32_t> scratch(manager, FineSums::scratchCount(input.width, kFineRadius));
  if (!scratch) return Result::kNoMemory;
  FineSums windows(scratch.get(), input.width, kFineRadius, {input, guide});
  solveFineRows(windows, rows, {0, input.height}, {a, b, input.width, eps * kArea * kArea});
  return Result::kOk;
}

Result smoothFinely(MMemMgr manager, Band rows, Plane<const std::int32_t> a,
                    Plane<const std::int32_t> b, std::int32_t* smoothA, std::int32_t* smoothB) {
  const Scratch<std::uint32_t> scratch(manager,
                                       CoefficientSums::scratchCount(a.width, kFineRadius));
  if (!scratch) return Result::kNoMemory;
  CoefficientSums windows(scratch.get(), a.width, kFineRadius, {a, b});
  smoothFineRows(windows, rows, {0, a.height}, a.width, smoothA, smoothB);
  return Result::kOk;
}

} // namespace tlux::detail

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"
#include "base/plane_checks.hpp"
#include "base/result.hpp"
#include "platform/scratch.hpp"
#include "tlux/smoothing.h"

// The weight of a neighbour is looked up by the difference of the samples, in the table for its
// distance. Two neighbours on opposite sides share a table, and a whole stretch of a row is
// processed at once: differences, then look-ups, then sums, so everything but the look-ups
// vectorises.
namespace tlux::detail {
namespace {

constexpr std::int32_t kLargestRadius = 64;
constexpr std::int32_t kStretch = 512;
constexpr int kLevels = 256;

struct Sigmas {
  double range;
  double space;
};

double gaussian(double distanceSquared, double sigma) {
  return std::exp(-distanceSquared / (2.0 * sigma * sigma));
}

// Half of the round window without its centre; the other half mirrors it. Calls visit(dx, dy).
template <class Visit>
void forHalfWindow(std::int32_t radius, Visit visit) {
  for (std::int32_t dy = 0; dy <= radius; ++dy) {
    for (std::int32_t dx = dy == 0 ? 1 : -radius; dx <= radius; ++dx) {
      if (dx * dx + dy * dy <= radius * radius) visit(dx, dy);
    }
  }
}

// Weights for all distances and differences, scaled so that two of them fit 16 bits and those of a
// window add up to at most 2²³: sums of weighted bytes then fit 31 bits.
class WeightTables {
 public:
  static std::int64_t valuesNeeded(std::int32_t radius) {
    return std::int64_t{tableIndex(radius, radius) + 1} * kLevels;
  }

  WeightTables(std::int32_t radius, const Sigmas& sigmas, std::uint16_t* memory) : tables_(memory) {
    double windowSum = 1.0;
    forHalfWindow(radius, [&](std::int32_t dx, std::int32_t dy) {
      windowSum += 2.0 * gaussian(dx * dx + dy * dy, sigmas.space);
    });
    const double one = std::min(32767.0, 8388608.0 / windowSum);
    std::array<double, kLevels> rangeWeights{};
    for (std::size_t i = 0; i < rangeWeights.size(); ++i) {
      const auto difference = static_cast<double>(i);
      rangeWeights[i] = one * gaussian(difference * difference, sigmas.range);
    }
    for (std::int32_t far = 0; far <= radius; ++far) {
      for (std::int32_t near = 0; near <= far; ++near) {
        const double spaceWeight = gaussian(far * far + near * near, sigmas.space);
        std::uint16_t* table = tables_ + tableIndex(far, near) * kLevels;
        for (std::size_t i = 0; i < rangeWeights.size(); ++i) {
          table[i] = saturatingTrunc<std::uint16_t>(rangeWeights[i] * spaceWeight + 0.5);
        }
      }
    }
  }

  const std::uint16_t* at(std::int32_t dx, std::int32_t dy) const {
    const std::int32_t columns = dx < 0 ? -dx : dx;
    return tables_ + tableIndex(std::max(columns, dy), std::min(columns, dy)) * kLevels;
  }

 private:
  // Offsets that differ only by reflection share a table.
  static std::int32_t tableIndex(std::int32_t far, std::int32_t near) {
    return far * (far + 1) / 2 + near;
  }

  std::uint16_t* tables_;
};

// The rows of a window, each extended by `radius` copies of its first and last sample. Rows above
// and below the plane repeat its first and last row.
class PaddedRows {
 public:
  static std::int64_t bytesNeeded(std::int32_t width, std::int32_t radius) {
    return (2 * std::int64_t{radius} + 1) * (std::int64_t{width} + 2 * radius);
  }

  PaddedRows(Plane<const std::uint8_t> plane, std::int32_t radius, std::uint8_t* memory)
      : plane_(plane), radius_(radius), memory_(memory) {}

  // Reads the row of the plane.
  void enter(std::int32_t y) {
    const std::uint8_t* row = plane_.row(clampTo(y, 0, plane_.height - 1));
    std::uint8_t* samples = at(y);
    std::memset(samples - radius_, row[0], static_cast<std::size_t>(radius_));
    std::copy_n(row, plane_.width, samples);
    std::memset(samples + plane_.width, row[plane_.width - 1], static_cast<std::size_t>(radius_));
  }

  std::uint8_t* at(std::int32_t y) const {
    const std::int32_t slot = (y + radius_) % (2 * radius_ + 1);
    return memory_ + slot * (std::int64_t{plane_.width} + 2 * radius_) + radius_;
  }

 private:
  Plane<const std::uint8_t> plane_;
  std::int32_t radius_;
  std::uint8_t* memory_;
};

TLUX_MULTIVERSION void writeDifferences(const std::uint8_t* __restrict a,
                                        const std::uint8_t* __restrict b, std::int32_t count,
                                        std::uint8_t* __restrict out) {
  for (std::int32_t x = 0; x < count; ++x) {
    out[x] = static_cast<std::uint8_t>(std::max(a[x], b[x]) - std::min(a[x], b[x]));
  }
}

TLUX_OUT_OF_LINE void lookUp(const std::uint8_t* __restrict differences,
                             const std::uint16_t* __restrict table, std::int32_t count,
                             std::uint16_t* __restrict out) {
#pragma GCC unroll 8
  for (std::int32_t x = 0; x < count; ++x) {
    out[x] = table[differences[x]];
  }
}

struct Weighted {
  const std::uint8_t* samples;
  std::uint16_t weights[kStretch];

  void weigh(const std::uint8_t* neighbours, const std::uint8_t* centres,
             const std::uint16_t* table, std::int32_t count) {
    std::uint8_t differences[kStretch];
    samples = neighbours;
    writeDifferences(centres, neighbours, count, differences);
    lookUp(differences, table, count, weights);
  }
};

TLUX_MULTIVERSION void addWeighted(const Weighted& first, const Weighted& second,
                                   std::int32_t count, std::uint32_t* __restrict weightSums,
                                   std::uint32_t* __restrict sums) {
  const std::uint16_t* __restrict weightsA = first.weights;
  const std::uint16_t* __restrict weightsB = second.weights;
  const std::uint8_t* __restrict a = first.samples;
  const std::uint8_t* __restrict b = second.samples;
  for (std::int32_t x = 0; x < count; ++x) {
    weightSums[x] += static_cast<std::uint16_t>(weightsA[x] + weightsB[x]);
    sums[x] += std::uint32_t{weightsA[x]} * std::uint16_t{a[x]} +
               std::uint32_t{weightsB[x]} * std::uint16_t{b[x]};
  }
}

// Rounded quotients. The sums are below 2³¹. Truncating the double quotient is exact: unless it is
// whole, it is at least 1 / weight ≥ 2⁻²⁴ away from the next whole number.
TLUX_MULTIVERSION void divideRounded(const std::uint32_t* __restrict sums,
                                     const std::uint32_t* __restrict weightSums, std::int32_t count,
                                     std::uint8_t* __restrict out) {
  for (std::int32_t x = 0; x < count; ++x) {
    const auto weight = static_cast<std::int32_t>(weightSums[x]);
    const std::int32_t half = weight / 2;
    const double sum = static_cast<double>(static_cast<std::int32_t>(sums[x])) + half;
    out[x] = static_cast<std::uint8_t>(static_cast<std::int32_t>(sum / weight));
  }
}

// Filters `count` pixels of row y, from column `first` on.
void filterStretch(const PaddedRows& rows, const WeightTables& tables, std::int32_t radius,
                   std::int32_t y, std::int32_t first, std::int32_t count, std::uint8_t* out) {
  std::uint32_t weightSums[kStretch];
  std::uint32_t sums[kStretch];
  const std::uint8_t* centres = rows.at(y) + first;
  const std::uint32_t ownWeight = tables.at(0, 0)[0];
  for (std::int32_t x = 0; x < count; ++x) {
    weightSums[x] = ownWeight;
    sums[x] = ownWeight * centres[x];
  }
  Weighted one;
  Weighted other;
  forHalfWindow(radius, [&](std::int32_t dx, std::int32_t dy) {
    const std::uint16_t* table = tables.at(dx, dy);
    one.weigh(rows.at(y + dy) + first + dx, centres, table, count);
    other.weigh(rows.at(y - dy) + first - dx, centres, table, count);
    addWeighted(one, other, count, weightSums, sums);
  });
  divideRounded(sums, weightSums, count, out);
}

Result bilateralFilter(MMemMgr manager, Plane<const std::uint8_t> input, Plane<std::uint8_t> output,
                       std::int32_t radius, const Sigmas& sigmas) {
  const std::int32_t width = input.width;
  const Scratch<std::uint8_t> padded(manager, PaddedRows::bytesNeeded(width, radius));
  const Scratch<std::uint16_t> weights(manager, WeightTables::valuesNeeded(radius));
  if (!padded || !weights) return Result::kNoMemory;

  const WeightTables tables(radius, sigmas, weights.get());
  PaddedRows rows(input, radius, padded.get());
  for (std::int32_t y = -radius; y < radius; ++y) {
    rows.enter(y);
  }
  for (std::int32_t y = 0; y < input.height; ++y) {
    rows.enter(y + radius);
    for (std::int32_t x = 0; x < width; x += kStretch) {
      filterStretch(rows, tables, radius, y, x, std::min(width - x, kStretch), output.row(y) + x);
    }
  }
  return Result::kOk;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t BilateralFilter1D(MMemMgr manager, const uint8_t* input, int32_t inputPitch,
                           uint8_t* output, int32_t outputPitch, int32_t width, int32_t height,
                           int32_t radius, float rangeSigma, float spaceSigma) noexcept {
  const Plane<const uint8_t> in{input, width, height, inputPitch};
  const Plane<uint8_t> out{output, width, height, outputPitch};
  if (!isPlane(in) || !isPlane(out) || radius < 0 || radius > kLargestRadius || !(rangeSigma > 0) ||
      !(spaceSigma > 0)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  if (isEmpty(width, height)) return TLUX_OK;
  return codeOf(
      bilateralFilter(manager, in, out, radius,
                      {static_cast<double>(rangeSigma), static_cast<double>(spaceSigma)}));
}

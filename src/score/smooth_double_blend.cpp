#include "score/smooth_double_blend.hpp"

#include <algorithm>
#include <array>

#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"
#include "tlux/statistics.h"

namespace tlux::detail {
namespace {

constexpr std::ptrdiff_t kPad = kRowPadding / 2;
constexpr int kRing = 4;

// The filters below run down columns and along rows alike: their inputs are rows of a plane, or one
// row shifted by a sample or two. They stay out of line, since a compiler that sees the shifted row
// carries its samples from one step to the next and then fails to vectorise.

// Samples within this magnitude are processed in 16 bits: each of the two interpolations lets them
// grow by 36/32 at most, and before the second one a sum of four is still below 2^15.
constexpr std::int16_t kLargestShort = 7281;

TLUX_MULTIVERSION bool isShort(const std::int16_t* row, std::ptrdiff_t width) {
  std::int16_t smallest = 0;
  std::int16_t largest = 0;
  for (std::ptrdiff_t x = 0; x < width; ++x) {
    smallest = std::min(smallest, row[x]);
    largest = std::max(largest, row[x]);
  }
  return smallest >= -kLargestShort && largest <= kLargestShort;
}

// Each sample with half its weight spread over its neighbours: (1 2 1) / 4.
TLUX_MULTIVERSION void smoothTaps(const std::int16_t* __restrict before,
                                  const std::int16_t* __restrict centre,
                                  const std::int16_t* __restrict after, std::ptrdiff_t count,
                                  std::int16_t* __restrict out) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    out[i] = static_cast<std::int16_t>((before[i] + 2 * centre[i] + after[i]) >> 2);
  }
}

TLUX_MULTIVERSION void smoothShortTaps(const std::int16_t* __restrict before,
                                       const std::int16_t* __restrict centre,
                                       const std::int16_t* __restrict after, std::ptrdiff_t count,
                                       std::int16_t* __restrict out) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const auto outer = static_cast<std::int16_t>(before[i] + after[i]);
    const auto inner = static_cast<std::int16_t>(centre[i] + centre[i]);
    out[i] = static_cast<std::int16_t>(static_cast<std::int16_t>(outer + inner) >> 2);
  }
}

// Doubling puts two samples around each one, a quarter step away from it. `near` is the neighbour
// on the side of the new sample, `far` the one beyond it, `opposite` the neighbour on the other
// side.
template <class Sample>
[[gnu::always_inline]] inline void interpolateAs(const std::int16_t* __restrict far,
                                                 const std::int16_t* __restrict near,
                                                 const std::int16_t* __restrict centre,
                                                 const std::int16_t* __restrict opposite,
                                                 std::ptrdiff_t count, Sample* __restrict out) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    out[i] = static_cast<Sample>((-far[i] + 9 * near[i] + 25 * centre[i] - opposite[i]) >> 5);
  }
}

// The same for sums of four samples that fit 16 bits, by
// −f + 9n + 25c − o = 32c + 8(n − c) + (n + c − f − o).
[[gnu::always_inline]] inline void interpolateShort(const std::int16_t* __restrict far,
                                                    const std::int16_t* __restrict near,
                                                    const std::int16_t* __restrict centre,
                                                    const std::int16_t* __restrict opposite,
                                                    std::ptrdiff_t count,
                                                    std::int16_t* __restrict out) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const auto inner = static_cast<std::int16_t>(near[i] + centre[i]);
    const auto outer = static_cast<std::int16_t>(far[i] + opposite[i]);
    const auto bend = static_cast<std::int16_t>(static_cast<std::int16_t>(inner - outer) >> 3);
    const auto slope = static_cast<std::int16_t>(near[i] - centre[i]);
    const auto step = static_cast<std::int16_t>(static_cast<std::int16_t>(slope + bend) >> 2);
    out[i] = static_cast<std::int16_t>(centre[i] + step);
  }
}

TLUX_MULTIVERSION void interpolateRow(const std::int16_t* far, const std::int16_t* near,
                                      const std::int16_t* centre, const std::int16_t* opposite,
                                      std::ptrdiff_t count, std::int16_t* out) {
  interpolateAs(far, near, centre, opposite, count, out);
}

TLUX_MULTIVERSION void interpolateShortRow(const std::int16_t* far, const std::int16_t* near,
                                           const std::int16_t* centre, const std::int16_t* opposite,
                                           std::ptrdiff_t count, std::int16_t* out) {
  interpolateShort(far, near, centre, opposite, count, out);
}

void repeatEnds(std::int16_t* row, std::ptrdiff_t width) {
  std::fill_n(row - kPad, kPad, row[0]);
  std::fill_n(row + width, kPad, row[width - 1]);
}

// The rows of a small plane after smoothing, made on demand. A ring holds the last four, all that
// one output row needs. Rows outside the plane repeat the edge.
class SmoothedRows {
 public:
  // `scratch` holds kRing + 1 padded rows. No row before `first` is requested.
  SmoothedRows(Plane<const std::int16_t> plane, std::int64_t first, std::int16_t* scratch)
      : plane_(plane),
        stride_(std::ptrdiff_t{plane.width} + kRowPadding),
        ring_(scratch + kPad),
        made_(clamped(first)),
        isShortBefore_(isShortInput(made_ - 1)),
        isShortHere_(isShortInput(made_)) {}

  const std::int16_t* row(std::int64_t y) {
    const std::int64_t inside = clamped(y);
    while (made_ <= inside) {
      make(made_++);
    }
    return slot(inside % kRing);
  }
  // For a row that was requested.
  bool isShortRow(std::int64_t y) const { return isShort_[clamped(y) % kRing]; }

 private:
  std::int64_t clamped(std::int64_t y) const {
    return std::clamp<std::int64_t>(y, 0, std::int64_t{plane_.height} - 1);
  }
  std::int16_t* slot(std::int64_t i) const { return ring_ + i * stride_; }

  bool isShortInput(std::int64_t y) const { return isShort(plane_.row(clamped(y)), plane_.width); }

  void make(std::int64_t y) {
    const bool isShortBehind = isShortInput(y + 1);
    const bool isShortRow = isShortBefore_ && isShortHere_ && isShortBehind;
    isShortBefore_ = isShortHere_;
    isShortHere_ = isShortBehind;
    isShort_[y % kRing] = isShortRow;
    const auto smooth = isShortRow ? smoothShortTaps : smoothTaps;

    std::int16_t* vertical = slot(kRing);
    smooth(plane_.row(clamped(y - 1)), plane_.row(y), plane_.row(clamped(y + 1)), plane_.width,
           vertical);
    repeatEnds(vertical, plane_.width);
    std::int16_t* out = slot(y % kRing);
    smooth(vertical - 1, vertical, vertical + 1, plane_.width, out);
    repeatEnds(out, plane_.width);
  }

  Plane<const std::int16_t> plane_;
  std::ptrdiff_t stride_;
  std::int16_t* ring_;
  std::int64_t made_;  // rows before this one
  bool isShortBefore_; // whether the input row before the next one to be made is short
  bool isShortHere_;
  bool isShort_[kRing] = {};
};

struct BlendWeights { // Q8
  std::int32_t enlarged;
  std::int32_t large;
};

std::int32_t toQ8(double weight) {
  return saturatingTrunc<std::int32_t>(weight * 256 + 0.5);
}

// Doubles a padded row and blends it with `columns` samples of a large one, which may also be
// `out`.
template <class Sample, class Weight, class Interpolate>
[[gnu::always_inline]] inline void doubleAndBlendAs(const std::int16_t* row,
                                                    const std::int16_t* large,
                                                    std::ptrdiff_t columns, BlendWeights weights,
                                                    std::int16_t* out, Interpolate interpolate) {
  constexpr std::ptrdiff_t kPairs = 64;
  const auto ofLarge = static_cast<Weight>(weights.large);
  const auto ofEnlarged = static_cast<Weight>(weights.enlarged);
  Sample even[kPairs];
  Sample odd[kPairs];
  Sample enlarged[2 * kPairs];
  for (std::ptrdiff_t first = 0; first < columns; first += 2 * kPairs) {
    const std::ptrdiff_t count = std::min(2 * kPairs, columns - first);
    const std::ptrdiff_t pairs = (count + 1) / 2;
    const std::int16_t* s = row + first / 2;
    interpolate(s - 2, s - 1, s, s + 1, pairs, even);
    interpolate(s + 2, s + 1, s, s - 1, pairs, odd);
    for (std::ptrdiff_t k = 0; k < pairs; ++k) {
      enlarged[2 * k] = even[k];
      enlarged[2 * k + 1] = odd[k];
    }
    TLUX_INDEPENDENT
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      out[first + i] =
          static_cast<std::int16_t>(wrappingAdd(wrappingMul(large[first + i], ofLarge),
                                                wrappingMul(enlarged[i], ofEnlarged)) >>
                                    8);
    }
  }
}

TLUX_MULTIVERSION void doubleAndBlend(const std::int16_t* row, const std::int16_t* large,
                                      std::ptrdiff_t columns, BlendWeights weights,
                                      std::int16_t* out) {
  doubleAndBlendAs<std::int32_t, std::int32_t>(
      row, large, columns, weights, out,
      [](auto... inputs) __attribute__((always_inline)) { interpolateAs(inputs...); });
}

TLUX_MULTIVERSION void doubleAndBlendShort(const std::int16_t* row, const std::int16_t* large,
                                           std::ptrdiff_t columns, BlendWeights weights,
                                           std::int16_t* out) {
  doubleAndBlendAs<std::int16_t, std::int16_t>(
      row, large, columns, weights, out,
      [](auto... inputs) __attribute__((always_inline)) { interpolateShort(inputs...); });
}

bool areShort(BlendWeights weights) {
  const auto fits = [](std::int32_t weight) { return static_cast<std::int16_t>(weight) == weight; };
  return fits(weights.enlarged) && fits(weights.large);
}

} // namespace

void smoothDoubleBlend(Plane<const std::int16_t> small, Plane<const std::int16_t> large,
                       Plane<std::int16_t> output, Band outputRows, std::int16_t* scratch,
                       double enlargedWeight, double largeWeight) {
  const BlendWeights weights{toQ8(enlargedWeight), toQ8(largeWeight)};
  const bool hasShortWeights = areShort(weights);
  const std::ptrdiff_t stride = std::ptrdiff_t{small.width} + kRowPadding;
  SmoothedRows rows(small, std::int64_t{outputRows.first} / 2 - 2, scratch);
  std::int16_t* between = scratch + (kRing + 1) * stride;
  const std::ptrdiff_t columns =
      std::min(2 * std::ptrdiff_t{small.width}, std::ptrdiff_t{output.width});

  for (std::int32_t y = outputRows.first; y < outputRows.end; ++y) {
    const std::int32_t k = y / 2;
    const int side = y % 2 == 0 ? -1 : 1; // direction of the nearer neighbour
    const auto rowAt = [&](int offset) { return rows.row(std::int64_t{k} + offset) - kPad; };
    const std::int16_t* const far = rowAt(2 * side);
    const std::int16_t* const near = rowAt(side);
    const std::int16_t* const centre = rowAt(0);
    const std::int16_t* const opposite = rowAt(-side);
    bool isShort = hasShortWeights;
    for (int offset = -2; offset <= 2; ++offset) {
      isShort = isShort && (offset == -2 * side || rows.isShortRow(std::int64_t{k} + offset));
    }
    (isShort ? interpolateShortRow : interpolateRow)(far, near, centre, opposite, stride, between);
    std::int16_t* out = output.row(y);
    (isShort ? doubleAndBlendShort : doubleAndBlend)(between + kPad, large.row(y), columns, weights,
                                                     out);
    std::fill(out + columns, out + output.width, out[columns - 1]);
  }
}

} // namespace tlux::detail

using namespace tlux::detail;

void AME_SmoothDoubleBlend(const int16_t* small, int32_t smallWidth, int32_t smallHeight,
                           const int16_t* large, int16_t* output, int32_t largeWidth,
                           int32_t largeHeight, int16_t* scratch, double enlargedWeight,
                           double largeWeight) noexcept {
  if (small == nullptr || large == nullptr || output == nullptr || scratch == nullptr) return;
  if (smallWidth < 1 || smallHeight < 1 || largeWidth < 1 || largeHeight < 1) return;
  smoothDoubleBlend(packedPlane(small, smallWidth, smallHeight),
                    packedPlane(large, largeWidth, largeHeight),
                    packedPlane(output, largeWidth, largeHeight), {0, largeHeight}, scratch,
                    enlargedWeight, largeWeight);
}

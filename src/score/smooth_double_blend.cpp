#include "score/smooth_double_blend.hpp"

#include <algorithm>
#include <array>

#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"
#include "tlux/statistics.h"

namespace tlux {
namespace {

constexpr std::ptrdiff_t kPad = kRowPadding / 2;
constexpr int kRing = 4;

// The filters below run down columns and along rows alike: their inputs are rows of a plane, or one
// row shifted by a sample or two. They stay out of line, since a compiler that sees the shifted row
// keeps its samples from one step to the next and then finds no way to work on several at once.

// Each sample with half its weight in each of its neighbours: (1 2 1) / 4.
TLUX_MULTIVERSION void smoothTaps(const std::int16_t* __restrict before,
                                  const std::int16_t* __restrict centre,
                                  const std::int16_t* __restrict after, std::ptrdiff_t count,
                                  std::int16_t* __restrict out) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    out[i] = static_cast<std::int16_t>((before[i] + 2 * centre[i] + after[i]) >> 2);
  }
}

// Doubling puts two samples around each one, a quarter step away from it. `near` is the neighbour
// on the side of the new sample, `far` the one beyond it, `opposite` the one on the other side.
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

TLUX_MULTIVERSION void interpolate(const std::int16_t* far, const std::int16_t* near,
                                   const std::int16_t* centre, const std::int16_t* opposite,
                                   std::ptrdiff_t count, std::int16_t* out) {
  interpolateAs(far, near, centre, opposite, count, out);
}

TLUX_MULTIVERSION void interpolate(const std::int16_t* far, const std::int16_t* near,
                                   const std::int16_t* centre, const std::int16_t* opposite,
                                   std::ptrdiff_t count, std::int32_t* out) {
  interpolateAs(far, near, centre, opposite, count, out);
}

void repeatEnds(std::int16_t* row, std::ptrdiff_t width) {
  std::fill_n(row - kPad, kPad, row[0]);
  std::fill_n(row + width, kPad, row[width - 1]);
}

// The rows of a small plane after smoothing, made when first asked for. A ring holds the last four,
// which are all that one output row needs. Rows outside the plane repeat the edge.
class SmoothedRows {
 public:
  // `scratch` holds kRing + 1 padded rows. No row before `first` is asked for.
  SmoothedRows(Plane<const std::int16_t> plane, std::int64_t first, std::int16_t* scratch)
      : plane_(plane),
        stride_(std::ptrdiff_t{plane.width} + kRowPadding),
        ring_(scratch + kPad),
        made_(clamped(first)) {}

  const std::int16_t* row(std::int64_t y) {
    const std::int64_t inside = clamped(y);
    while (made_ <= inside) {
      make(made_++);
    }
    return slot(inside % kRing);
  }

 private:
  std::int64_t clamped(std::int64_t y) const {
    return std::clamp<std::int64_t>(y, 0, std::int64_t{plane_.height} - 1);
  }
  std::int16_t* slot(std::int64_t i) const { return ring_ + i * stride_; }

  void make(std::int64_t y) {
    std::int16_t* vertical = slot(kRing);
    smoothTaps(plane_.row(clamped(y - 1)), plane_.row(y), plane_.row(clamped(y + 1)), plane_.width,
               vertical);
    repeatEnds(vertical, plane_.width);
    std::int16_t* out = slot(y % kRing);
    smoothTaps(vertical - 1, vertical, vertical + 1, plane_.width, out);
    repeatEnds(out, plane_.width);
  }

  Plane<const std::int16_t> plane_;
  std::ptrdiff_t stride_;
  std::int16_t* ring_;
  std::int64_t made_; // rows before this one
};

struct BlendWeights { // Q8
  std::int32_t enlarged;
  std::int32_t large;
};

std::int32_t toQ8(double weight) {
  return saturatingTrunc<std::int32_t>(weight * 256 + 0.5);
}

inline std::int16_t blended(std::int32_t enlarged, std::int32_t large, BlendWeights weights) {
  return static_cast<std::int16_t>(
      wrappingAdd(wrappingMul(large, weights.large), wrappingMul(enlarged, weights.enlarged)) >> 8);
}

// Doubles a padded row and blends it with `columns` samples of a large one. In pieces through local
// arrays, so that the blend works on several samples at once in place, too.
TLUX_MULTIVERSION void doubleAndBlend(const std::int16_t* row, const std::int16_t* large,
                                      std::ptrdiff_t columns, BlendWeights weights,
                                      std::int16_t* out) {
  constexpr std::ptrdiff_t kPairs = 64;
  std::array<std::int32_t, kPairs> even;
  std::array<std::int32_t, kPairs> odd;
  std::array<std::int16_t, 2 * kPairs> old;
  for (std::ptrdiff_t first = 0; first < columns; first += 2 * kPairs) {
    const std::ptrdiff_t count = std::min(2 * kPairs, columns - first);
    const std::int16_t* s = row + first / 2;
    interpolate(s - 2, s - 1, s, s + 1, (count + 1) / 2, even.data());
    interpolate(s + 2, s + 1, s, s - 1, count / 2, odd.data());
    std::copy_n(large + first, count, old.data());
    for (std::ptrdiff_t k = 0; k < count / 2; ++k) {
      out[first + 2 * k] = blended(even[k], old[2 * k], weights);
      out[first + 2 * k + 1] = blended(odd[k], old[2 * k + 1], weights);
    }
    if (count % 2 != 0) {
      out[first + count - 1] = blended(even[count / 2], old[count - 1], weights);
    }
  }
}

} // namespace

void smoothDoubleBlend(Plane<const std::int16_t> small, Plane<const std::int16_t> large,
                       Plane<std::int16_t> output, Band outputRows, std::int16_t* scratch,
                       double enlargedWeight, double largeWeight) {
  const BlendWeights weights{toQ8(enlargedWeight), toQ8(largeWeight)};
  const std::ptrdiff_t stride = std::ptrdiff_t{small.width} + kRowPadding;
  SmoothedRows rows(small, std::int64_t{outputRows.first} / 2 - 2, scratch);
  std::int16_t* between = scratch + (kRing + 1) * stride;
  const std::ptrdiff_t columns =
      std::min(2 * std::ptrdiff_t{small.width}, std::ptrdiff_t{output.width});

  for (std::int32_t y = outputRows.first; y < outputRows.end; ++y) {
    const std::int32_t k = y / 2;
    const int side = y % 2 == 0 ? -1 : 1; // where the nearer neighbour lies
    const auto rowAt = [&](int offset) { return rows.row(std::int64_t{k} + offset) - kPad; };
    interpolate(rowAt(2 * side), rowAt(side), rowAt(0), rowAt(-side), stride, between);
    std::int16_t* out = output.row(y);
    doubleAndBlend(between + kPad, large.row(y), columns, weights, out);
    std::fill(out + columns, out + output.width, out[columns - 1]);
  }
}

} // namespace tlux

void AME_SmoothDoubleBlend(const int16_t* small, int32_t smallWidth, int32_t smallHeight,
                           const int16_t* large, int16_t* output, int32_t largeWidth,
                           int32_t largeHeight, int16_t* scratch, double enlargedWeight,
                           double largeWeight) noexcept {
  if (small == nullptr || large == nullptr || output == nullptr || scratch == nullptr) return;
  if (smallWidth < 1 || smallHeight < 1 || largeWidth < 1 || largeHeight < 1) return;
  tlux::smoothDoubleBlend(tlux::packedPlane(small, smallWidth, smallHeight),
                          tlux::packedPlane(large, largeWidth, largeHeight),
                          tlux::packedPlane(output, largeWidth, largeHeight), {0, largeHeight},
                          scratch, enlargedWeight, largeWeight);
}

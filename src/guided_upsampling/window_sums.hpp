// The fast guided filter (windows of 2r × 2r, edges repeated): sums over windows.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "base/bands.hpp"
#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"
#include "guided_upsampling/sums_of_32.hpp"

// Box sums whose cost hardly depends on the radius: column sums slide down the rows, and in each
// row sums of 2r columns are built from sums of 4, 16 …; floating-point sums and large radii slide
// along the row instead.
//
// The window of (x, y) holds the 2r × 2r samples of rows y − r … y + r − 1 and columns x − r … x +
// r − 1, one more above and to the left than below and to the right. Beyond the edges the nearest
// sample is repeated.
namespace tlux::detail {

// 4r² fits 31 bits.
inline constexpr std::int32_t kMaxWindowRadius = 23170;

constexpr bool isWindowRadius(std::int32_t radius) {
  return radius >= 1 && radius <= kMaxWindowRadius;
}

constexpr std::int32_t windowArea(std::int32_t radius) {
  return 4 * radius * radius;
}

// sum / count truncated toward zero, without a division and in a form that vectorises.
//
// (|s| + 1/2) / n is odd / even, so at least 1 / 2n away from every integer; the two roundings of
// its double form move it by less than (|s| + 1/2) / n · 2^-51 < 2^-20 / n.
class TruncatedMean {
 public:
  explicit TruncatedMean(std::int32_t count) : inverse_(1.0 / count) {}

  std::int32_t operator()(std::int32_t sum) const {
    return static_cast<std::int32_t>((sum + (sum < 0 ? -0.5 : 0.5)) * inverse_);
  }

 private:
  double inverse_;
};

// The same for a count of 2^n, by a shift.
class ShiftedMean {
 public:
  explicit ShiftedMean(std::int32_t count)
      : mask_(count - 1), shift_(std::countr_zero(static_cast<std::uint32_t>(count))) {}

  std::int32_t operator()(std::int32_t sum) const { return (sum + (sum >> 31 & mask_)) >> shift_; }

 private:
  std::int32_t mask_;
  int shift_;
};

// The same for sums that are never negative.
class UnsignedShiftedMean {
 public:
  explicit UnsignedShiftedMean(std::int32_t count)
      : shift_(std::countr_zero(static_cast<std::uint32_t>(count))) {}

  std::int32_t operator()(std::int32_t sum) const {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(sum) >> shift_);
  }

 private:
  int shift_;
};

// Calls use(mean) with the fastest mean for the windows of a radius.
template <class Use>
auto withMeanFor(std::int32_t radius, Use&& use) {
  const std::int32_t area = windowArea(radius);
  return std::has_single_bit(static_cast<std::uint32_t>(area)) ? use(ShiftedMean(area))
                                                               : use(TruncatedMean(area));
}

// Window sums of kMoments quantities of a plane. `rowAt(y)` gives a row, `row(x)` its quantities as
// std::array<Sum, kMoments>. Unsigned sums wrap. Everything is inlined, so it is compiled for the
// same processor as the code that uses it.
template <class Sum, int kMoments, class RowAt>
class WindowSums {
 public:
  // Size in elements of the memory for the sums.
  static constexpr std::int64_t scratchCount(std::int32_t width, std::int32_t radius) {
    return kMoments * (2 * std::int64_t{width} + 2 * std::int64_t{radius});
  }

  WindowSums(Sum* scratch, std::int32_t width, std::int32_t radius, RowAt rowAt)
      : width_(width), radius_(radius), rowAt_(rowAt) {
    for (int k = 0; k < kMoments; ++k) {
      padded_[k] = scratch + k * (std::ptrdiff_t{width} + 2 * radius);
      sums_[k] =
          scratch + kMoments * (std::ptrdiff_t{width} + 2 * radius) + k * std::ptrdiff_t{width};
    }
  }

  // Calls emit(y, sums) for each row; sums[k][x] is the k-th sum of the window of (x, y) and may be
  // overwritten. Window rows are clamped to `source`. Stops early when emit() returns false.
  template <class Emit>
  [[gnu::always_inline]] bool slide(Band rows, Band source, Emit emit) {
    const auto clamped = [source](std::int64_t y) {
      return static_cast<std::int32_t>(std::clamp<std::int64_t>(y, source.first, source.end - 1));
    };
    std::fill(padded_[0], sums_[0], Sum{0});
    for (std::int64_t y = std::int64_t{rows.first} - radius_;
         y < std::int64_t{rows.first} + radius_; ++y) {
      addRow(clamped(y));
    }
    for (std::int64_t y = rows.first; y < rows.end; ++y) {
      sweep();
      if (!emit(static_cast<std::int32_t>(y), sums_)) return false;
      replaceRow(clamped(y - radius_), clamped(y + radius_));
    }
    return true;
  }

 private:
  [[gnu::always_inline]] void addRow(std::int32_t y) {
    addToColumns([entering = rowAt_(y)](std::ptrdiff_t x) { return entering(x); });
  }

  [[gnu::always_inline]] void replaceRow(std::int32_t leavingRow, std::int32_t enteringRow) {
    if (leavingRow == enteringRow) return;
    addToColumns([leaving = rowAt_(leavingRow), entering = rowAt_(enteringRow)](std::ptrdiff_t x) {
      auto moments = entering(x);
      const auto past = leaving(x);
      for (std::size_t k = 0; k < kMoments; ++k) {
        moments[k] -= past[k];
      }
      return moments;
    });
  }

  // One loop for all quantities, over pointers that compilers can prove distinct.
  template <class Moments>
  [[gnu::always_inline]] void addToColumns(const Moments& moments) {
    [&]<std::size_t... k>(std::index_sequence<k...>) {
      addToColumns(moments, width_, std::index_sequence<k...>(), (padded_[k] + radius_)...);
    }
    (std::make_index_sequence<kMoments>());
  }

  template <class Moments, std::size_t... k, class... Sums>
  [[gnu::always_inline]] static void addToColumns(const Moments& moments, std::ptrdiff_t width,
                                                  std::index_sequence<k...> /*all*/,
                                                  Sums* __restrict... columns) {
    TLUX_INDEPENDENT
    for (std::ptrdiff_t x = 0; x < width; ++x) {
      const auto all = moments(x);
      ((columns[x] += all[k]), ...);
    }
  }

  [[gnu::always_inline]] void sweep() const {
    if constexpr (std::is_integral_v<Sum>) {
      if (radius_ <= kLargestFolded) {
        for (std::size_t k = 0; k < kMoments; ++k) {
          repeatEnds(padded_[k]);
        }
        if constexpr (std::is_same_v<Sum, std::uint32_t>) {
          if (2 * radius_ == SumsOf32::kSpan && width_ >= SumsOf32::kFewest) {
            for (std::size_t k = 0; k < kMoments; ++k) {
              SumsOf32::make(padded_[k], width_, sums_[k]);
            }
            return;
          }
        }
        for (std::ptrdiff_t first = 0; first < width_; first += kPiece) {
          sweepPiece(first, std::min(kPiece, width_ - first));
        }
        return;
      }
    }
    sweepAlong();
  }

  [[gnu::always_inline]] void repeatEnds(Sum* padded) const {
    const std::ptrdiff_t last = std::ptrdiff_t{width_} + radius_ - 1;
    std::fill(padded, padded + radius_, padded[radius_]);
    std::fill(padded + last + 1, padded + last + 1 + radius_, padded[last]);
  }

  // Radii up to which sums are made by folding, and the number of columns made at a time.
  static constexpr std::int32_t kLargestFolded = 64;
  static constexpr std::ptrdiff_t kPiece = 256;
  static constexpr std::ptrdiff_t kFolded = kPiece + 2 * kLargestFolded;

  [[gnu::always_inline]] static void fold(const Sum* __restrict part, std::ptrdiff_t step,
                                          std::ptrdiff_t count, Sum* __restrict sums) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      sums[i] = (part[i] + part[i + step]) + (part[i + 2 * step] + part[i + 3 * step]);
    }
  }

  // Adds the sum of 1 to 3 parts, a step apart, to the sums; the first time it stores it.
  [[gnu::always_inline]] static void take(const Sum* __restrict part, std::ptrdiff_t step,
                                          std::ptrdiff_t parts, bool isFirst, std::ptrdiff_t count,
                                          Sum* __restrict sums) {
    if (isFirst && parts == 2) {
      for (std::ptrdiff_t i = 0; i < count; ++i) {
        sums[i] = part[i] + part[i + step];
      }
      return;
    }
    if (isFirst) std::fill_n(sums, count, Sum{0});
    for (std::ptrdiff_t j = 0; j < parts; ++j) {
      for (std::ptrdiff_t i = 0; i < count; ++i) {
        sums[i] += part[i + j * step];
      }
    }
  }

  // Each sum of 2r columns is made of sums of 4^n columns, one for each unit of the base-4 digits
  // of 2r. All quantities side by side, so that stored values are not read back at once.
  [[gnu::always_inline]] void sweepPiece(std::ptrdiff_t first, std::ptrdiff_t count) const {
    const std::ptrdiff_t span = 2 * std::ptrdiff_t{radius_};
    // Sums of `step` columns starting at each column, and the sums that they are made from.
    Sum folded[2][kMoments][kFolded];
    std::array<const Sum*, kMoments> part;
    for (std::size_t k = 0; k < kMoments; ++k) {
      part[k] = padded_[k] + first;
    }
    std::ptrdiff_t held = count + span - 1;
    std::ptrdiff_t taken = 0;
    int next = 0;
    for (std::ptrdiff_t step = 1;; step *= 4, next = 1 - next) {
      const std::ptrdiff_t parts = span / step % 4;
      if (parts != 0) {
        for (std::size_t k = 0; k < kMoments; ++k) {
          take(part[k] + taken, step, parts, taken == 0, count, sums_[k] + first);
        }
        taken += parts * step;
      }
      if (taken == span) break;
      held -= 3 * step;
      for (std::size_t k = 0; k < kMoments; ++k) {
        fold(part[k], step, held, folded[next][k]);
        part[k] = folded[next][k];
      }
    }
  }

  // All quantities in one loop, which overlaps their chains of dependent additions.
  [[gnu::always_inline]] void sweepAlong() const {
    const std::ptrdiff_t span = 2 * std::ptrdiff_t{radius_};
    const std::array<Sum*, kMoments> padded = padded_;
    const std::array<Sum*, kMoments> sums = sums_;
    std::array<Sum, kMoments> sum{};
    for (std::size_t k = 0; k < kMoments; ++k) {
      repeatEnds(padded[k]);
      for (std::ptrdiff_t i = 0; i < span; ++i) {
        sum[k] += padded[k][i];
      }
      sums[k][0] = sum[k];
    }
    for (std::ptrdiff_t x = 1; x < width_; ++x) {
      for (std::size_t k = 0; k < kMoments; ++k) {
        sum[k] += padded[k][x + span - 1] - padded[k][x - 1];
        sums[k][x] = sum[k];
      }
    }
  }

  std::int32_t width_;
  std::int32_t radius_;
  RowAt rowAt_;
  std::array<Sum*, kMoments> padded_; // column sums, radius_ copies of the outer ones either side
  std::array<Sum*, kMoments> sums_;
};

} // namespace tlux::detail

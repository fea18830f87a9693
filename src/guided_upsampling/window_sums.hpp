#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "base/bands.hpp"
#include "base/fixed_point.hpp"

// Box sums whose cost does not depend on the radius: column sums slide down the rows, and on each
// row the sum of 2r columns slides along.
//
// The window of (x, y) holds the 2r × 2r samples of rows y − r … y + r − 1 and columns x − r …
// x + r − 1, one more above and to the left than below and to the right. Beyond the edges the
// nearest sample is repeated.
namespace tlux {

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

// Calls use(mean) with what is fastest for the windows of a radius.
template <class Use>
auto withMeanFor(std::int32_t radius, Use&& use) {
  const std::int32_t area = windowArea(radius);
  return std::has_single_bit(static_cast<std::uint32_t>(area)) ? use(ShiftedMean(area))
                                                               : use(TruncatedMean(area));
}

// Window sums of kMoments quantities of a plane. `rowAt(y)` gives a row, `row(x)` its quantities as
// std::array<Sum, kMoments>. Unsigned sums wrap. Everything is inlined, so that it is compiled for
// the processor its user is compiled for.
template <class Sum, int kMoments, class RowAt>
class WindowSums {
 public:
  // Elements of the memory that the sums are kept in.
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
  // overwritten. Window rows are clamped to `source`. Ends early when emit() returns false.
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

  // One loop per quantity, so that each vectorises.
  template <class Moments>
  [[gnu::always_inline]] void addToColumns(const Moments& moments) {
    [&]<std::size_t... k>(std::index_sequence<k...>) {
      (addToColumn<k>(padded_[k] + radius_, moments), ...);
    }
    (std::make_index_sequence<kMoments>());
  }

  template <std::size_t k, class Moments>
  [[gnu::always_inline]] void addToColumn(Sum* __restrict column, const Moments& moments) const {
    for (std::ptrdiff_t x = 0; x < width_; ++x) {
      column[x] += moments(x)[k];
    }
  }

  // All quantities side by side, since each step waits for the one before.
  [[gnu::always_inline]] void sweep() const {
    const std::ptrdiff_t last = std::ptrdiff_t{width_} + radius_ - 1;
    const std::ptrdiff_t span = 2 * std::ptrdiff_t{radius_};
    const std::array<Sum*, kMoments> padded = padded_;
    const std::array<Sum*, kMoments> sums = sums_;
    std::array<Sum, kMoments> sum{};
    for (std::size_t k = 0; k < kMoments; ++k) {
      std::fill(padded[k], padded[k] + radius_, padded[k][radius_]);
      std::fill(padded[k] + last + 1, padded[k] + last + 1 + radius_, padded[k][last]);
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

} // namespace tlux

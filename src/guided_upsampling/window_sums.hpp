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

// Box sums whose cost hardly depends on the radius: column sums slide down the rows, and on each
// row sums of 2r columns are made of sums of 2, 4, 8 … or, of floating point and for large radii,
// slide along.
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

  // One loop for all quantities, over pointers that compilers can tell apart.
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
    for (std::ptrdiff_t x = 0; x < width; ++x) {
      const auto all = moments(x);
      ((columns[x] += all[k]), ...);
    }
  }

  [[gnu::always_inline]] void sweep() const {
    if constexpr (std::is_integral_v<Sum>) {
      if (radius_ <= kLargestDoubled) {
        for (std::size_t k = 0; k < kMoments; ++k) {
          repeatEnds(padded_[k]);
          sweepByDoubling(padded_[k], sums_[k]);
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

  // Radii whose sums are made by doubling, and columns that are made at a time.
  static constexpr std::int32_t kLargestDoubled = 64;
  static constexpr std::ptrdiff_t kPiece = 256;

  // `part` may begin later in `sums`.
  [[gnu::always_inline]] static void addTo(Sum* sums, const Sum* part, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      sums[i] += part[i];
    }
  }

  // Each sum of 2r columns is made of the sums of 2^n that the binary digits of 2r stand for.
  [[gnu::always_inline]] void sweepByDoubling(const Sum* __restrict padded,
                                              Sum* __restrict sums) const {
    const std::ptrdiff_t span = 2 * std::ptrdiff_t{radius_};
    Sum powers[kPiece + 2 * kLargestDoubled]; // sums of `power` columns from each one on
    for (std::ptrdiff_t first = 0; first < width_; first += kPiece) {
      const std::ptrdiff_t count = std::min(kPiece, width_ - first);
      const Sum* const from = padded + first;
      Sum* const to = sums + first;
      std::ptrdiff_t held = count + span - 1;
      for (std::ptrdiff_t i = 0; i < held; ++i) {
        powers[i] = from[i] + from[i + 1];
      }
      std::ptrdiff_t taken = 0;
      for (std::ptrdiff_t power = 2;; power *= 2) {
        if ((span & power) != 0) {
          const Sum* const part = powers + taken;
          if (taken == 0) {
            std::copy_n(part, count, to);
          } else {
            addTo(to, part, count);
          }
          taken += power;
        }
        if (taken == span) break;
        held -= power;
        addTo(powers, powers + power, held);
      }
    }
  }

  // All quantities side by side, since each step waits for the one before.
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

} // namespace tlux

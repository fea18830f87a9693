#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "base/multiversion.hpp"
#include "tlux/mask.h"

// Erosion and dilation are one thing: mark the pixels within a city-block radius of a target. The
// distance |dx| + |dy| is taken apart, first along the rows, then down and up the columns:
//
//   along(x, y)    = min over x' of |x - x'| with a target at (x', y)
//   distance(x, y) = min over y' of along(x, y') + |y - y'|
//
// The columns are recurrences from row to row. The rows would be scans from pixel to pixel, which
// no vector unit likes; since only distances up to the radius matter, they are found in
// log2(radius) sweeps instead, each of which doubles the reach.
namespace tlux::detail {
namespace {

constexpr int kMaxRadius = 253;
// Stands for every distance beyond the largest radius. One step further still fits a byte.
constexpr std::uint8_t kFar = kMaxRadius + 1;
constexpr std::size_t kChunk = 4096; // columns that one set of sweeps works on

struct Morphology {
  bool targetIsSet;     // what distances lead to: set pixels, or clear ones
  std::uint8_t outside; // distance of the pixels beyond the rectangle
  std::uint8_t radius;

  std::uint8_t nearValue() const { return targetIsSet ? 255 : 0; }
  std::uint8_t farValue() const { return targetIsSet ? 0 : 255; }
};

// Rows of a mask inside a rectangle.
struct MaskView {
  std::uint8_t* data;
  std::ptrdiff_t pitch;
  std::size_t width;
  std::size_t height;

  std::uint8_t* row(std::size_t y) const { return data + static_cast<std::ptrdiff_t>(y) * pitch; }
};

TLUX_MULTIVERSION void seedDistances(const std::uint8_t* __restrict mask, std::size_t count,
                                     const Morphology& op, std::uint8_t* __restrict seeds) {
  const std::uint8_t ofSet = op.targetIsSet ? 0 : kFar;
  const std::uint8_t ofClear = op.targetIsSet ? kFar : 0;
  for (std::size_t x = 0; x < count; ++x) {
    seeds[x] = mask[x] != 0 ? ofSet : ofClear;
  }
}

// Spreads distances by `step` both ways; the result is 2·step shorter and starts `step` later.
TLUX_MULTIVERSION void spreadBy(const std::uint8_t* __restrict in, std::size_t count,
                                std::uint8_t step, std::uint8_t* __restrict out) {
  const std::uint8_t limit = kFar - step;
  for (std::size_t x = 0; x < count; ++x) {
    const std::uint8_t aside = std::min(std::min(in[x], in[x + 2u * step]), limit);
    out[x] = std::min(in[x + step], static_cast<std::uint8_t>(aside + step));
  }
}

// Distances along one row, in place of its pixels.
class RowSpreader {
 public:
  explicit RowSpreader(const Morphology& op) : op_(op) {}

  void spread(std::uint8_t* row, std::size_t width) {
    // seeds_ holds the chunk and `radius` pixels on each side of it. The part that the next chunk
    // needs too is kept, because its pixels will be gone from the row by then.
    const std::size_t halo = op_.radius;
    std::fill_n(seeds_, halo, op_.outside);
    load(row, width, 0, halo, seeds_ + halo);
    for (std::size_t first = 0; first < width; first += kChunk) {
      const std::size_t count = std::min(kChunk, width - first);
      load(row, width, first + halo, count, seeds_ + 2 * halo);
      sweepChunk(count, row + first);
      std::memmove(seeds_, seeds_ + count, 2 * halo);
    }
  }

 private:
  // Seeds of `count` columns from `first` on, some of which may lie beyond the row.
  void load(const std::uint8_t* row, std::size_t width, std::size_t first, std::size_t count,
            std::uint8_t* seeds) {
    const std::size_t inside = first < width ? std::min(count, width - first) : 0;
    seedDistances(row + std::min(first, width), inside, op_, seeds);
    std::fill(seeds + inside, seeds + count, op_.outside);
  }

  // Steps 1, 2, 4, … and a rest reach every distance up to their sum, which is the radius.
  void sweepChunk(std::size_t count, std::uint8_t* out) {
    const std::uint8_t* from = seeds_;
    std::uint8_t* to = ping_;
    std::uint8_t* next = pong_;
    std::size_t left = count + 2u * op_.radius;
    for (int reach = 0; reach < op_.radius;) {
      const int step = std::min(reach + 1, op_.radius - reach);
      reach += step;
      left -= 2u * static_cast<unsigned>(step);
      spreadBy(from, left, static_cast<std::uint8_t>(step), reach == op_.radius ? out : to);
      from = to;
      std::swap(to, next);
    }
  }

  static constexpr std::size_t kSize = kChunk + 2 * kMaxRadius;
  Morphology op_;
  std::uint8_t seeds_[kSize];
  std::uint8_t ping_[kSize];
  std::uint8_t pong_[kSize];
};

// One step of the recurrence along the columns.
TLUX_MULTIVERSION void relaxDown(std::uint8_t* __restrict row,
                                 const std::uint8_t* __restrict neighbour, std::size_t width) {
  for (std::size_t x = 0; x < width; ++x) {
    row[x] = std::min(row[x], static_cast<std::uint8_t>(neighbour[x] + 1));
  }
}

// The same against a row beyond the rectangle.
void relaxAtBorder(std::uint8_t* row, std::size_t width, const Morphology& op) {
  const auto limit = static_cast<std::uint8_t>(op.outside + 1);
  for (std::size_t x = 0; x < width; ++x) {
    row[x] = std::min(row[x], limit);
  }
}

// Calls change(x) for all columns of a row and adds up what it returns, 0 or 1. Counted in blocks
// whose sum fits a byte, so that the vector loop need not widen every pixel.
template <class Change>
[[gnu::always_inline]] inline std::uint32_t countChanges(std::size_t width, Change change) {
  constexpr std::size_t kBlock = 192; // whole vectors
  std::uint32_t changed = 0;
  for (std::size_t first = 0; first < width; first += kBlock) {
    const std::size_t end = std::min(first + kBlock, width);
    std::uint8_t inBlock = 0;
    TLUX_INDEPENDENT
    for (std::size_t x = first; x < end; ++x) {
      inBlock = static_cast<std::uint8_t>(inBlock + (change(x) ? 1 : 0));
    }
    changed += inBlock;
  }
  return changed;
}

// Turns distances into the finished mask; returns how many pixels change: those within the radius
// that are no targets themselves.
template <class Relax>
[[gnu::always_inline]] inline std::uint32_t finishAs(std::uint8_t* row, std::size_t width,
                                                     const Morphology& op, Relax relax) {
  const std::uint8_t radius = op.radius;
  const std::uint8_t nearValue = op.nearValue();
  const std::uint8_t farValue = op.farValue();
  return countChanges(
      width, [=](std::size_t x) __attribute__((always_inline)) {
        const std::uint8_t distance = row[x];
        relax(x, distance);
        row[x] = distance > radius ? farValue : nearValue;
        return static_cast<std::uint8_t>(distance - 1) < radius; // targets wrap to 255
      });
}

// The pixels of row `here` that are clear or have a clear neighbour are cleared in `row`.
TLUX_MULTIVERSION std::uint32_t erodeCross(const std::uint8_t* above, const std::uint8_t* here,
                                           const std::uint8_t* below, std::size_t width,
                                           std::uint8_t* row) {
  return countChanges(
      width, [=](std::size_t x) __attribute__((always_inline)) {
        const std::uint8_t inRow = std::min(*(here + x - 1), here[x + 1]);
        const std::uint8_t aside = std::min(std::min(above[x], below[x]), inRow);
        const std::uint8_t centre = here[x];
        row[x] = std::min(aside, centre) == 0 ? 0 : 255;
        return (aside == 0) & (centre != 0);
      });
}

// Those that are set or have a set neighbour are set.
TLUX_MULTIVERSION std::uint32_t dilateCross(const std::uint8_t* above, const std::uint8_t* here,
                                            const std::uint8_t* below, std::size_t width,
                                            std::uint8_t* row) {
  return countChanges(
      width, [=](std::size_t x) __attribute__((always_inline)) {
        const int aside = *(here + x - 1) | here[x + 1] | above[x] | below[x];
        const std::uint8_t centre = here[x];
        row[x] = (aside | centre) != 0 ? 255 : 0;
        return (aside != 0) & (centre == 0);
      });
}

// The upward step of the recurrence along with it.
TLUX_MULTIVERSION std::uint32_t finishMaskRow(std::uint8_t* __restrict row,
                                              std::uint8_t* __restrict above, std::size_t width,
                                              const Morphology& op) {
  return finishAs(
      row, width, op, [above](std::size_t x, std::uint8_t distance) __attribute__((always_inline)) {
        above[x] = std::min(above[x], static_cast<std::uint8_t>(distance + 1));
      });
}

std::uint32_t finishTopRow(std::uint8_t* row, std::size_t width, const Morphology& op) {
  return finishAs(row, width, op, [](std::size_t, std::uint8_t) {});
}

std::uint32_t apply(const MaskView& mask, const Morphology& op) {
  RowSpreader spreader(op);
  for (std::size_t y = 0; y < mask.height; ++y) {
    spreader.spread(mask.row(y), mask.width);
    if (y > 0) {
      relaxDown(mask.row(y), mask.row(y - 1), mask.width);
    } else {
      relaxAtBorder(mask.row(y), mask.width, op);
    }
  }
  // Upward, and each row is finished once the row above has seen its distances.
  std::uint32_t changed = 0;
  relaxAtBorder(mask.row(mask.height - 1), mask.width, op);
  for (std::size_t y = mask.height - 1; y > 0; --y) {
    changed += finishMaskRow(mask.row(y), mask.row(y - 1), mask.width, op);
  }
  return changed + finishTopRow(mask.row(0), mask.width, op);
}

// A radius of 1 needs no distances: it is enough to look at a pixel and its four neighbours. Two
// rows are kept, since the mask changes in place. Pixels beyond the rectangle are clear.
class CrossPass {
 public:
  static constexpr std::size_t kMostColumns = kChunk;

  explicit CrossPass(const MaskView& mask) : mask_(mask) {}

  std::uint32_t apply(bool targetIsSet) {
    const auto cross = targetIsSet ? dilateCross : erodeCross;
    std::uint8_t* above = rows_[0] + 1;
    std::uint8_t* here = rows_[1] + 1;
    std::uint32_t changed = 0;
    for (std::size_t y = 0; y < mask_.height; ++y) {
      const bool isLast = y + 1 == mask_.height;
      std::memcpy(here, mask_.row(y), mask_.width);
      changed += cross(above, here, isLast ? clear_ : mask_.row(y + 1), mask_.width, mask_.row(y));
      std::swap(above, here);
    }
    return changed;
  }

 private:
  const MaskView& mask_;
  std::uint8_t rows_[2][kMostColumns + 2] = {}; // with a clear pixel on either side
  std::uint8_t clear_[kMostColumns] = {};
};

std::uint32_t applyInside(std::uint8_t* mask, std::ptrdiff_t pitch, const TLUX_MASK_RECT& rect,
                          std::int32_t radius, bool targetIsSet) {
  const bool isEmpty = rect.right <= rect.left || rect.bottom <= rect.top;
  if (mask == nullptr || radius < 1 || radius > kMaxRadius || isEmpty) return 0;
  std::uint8_t* first = mask + static_cast<std::ptrdiff_t>(rect.top) * pitch + rect.left;
  const MaskView view{first, pitch, rect.right - rect.left, rect.bottom - rect.top};
  const std::uint8_t outside = targetIsSet ? kFar : 0; // clear: a target of erosion only
  const Morphology op = {targetIsSet, outside, static_cast<std::uint8_t>(radius)};
  if (radius == 1 && view.width <= CrossPass::kMostColumns) {
    return CrossPass(view).apply(targetIsSet);
  }
  return apply(view, op);
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_ErodeEx(uint8_t* mask, int32_t pitch, uint32_t width, uint32_t height, int32_t radius,
                      const TLUX_MASK_RECT* rect) noexcept {
  const TLUX_MASK_RECT area = rect != nullptr ? *rect : TLUX_MASK_RECT{0, 0, width, height};
  return applyInside(mask, pitch, area, radius, false);
}

uint32_t TLUX_DilateEx(uint8_t* mask, uint32_t pitch, uint32_t width, uint32_t height,
                       int32_t radius, const TLUX_MASK_RECT* rect) noexcept {
  const TLUX_MASK_RECT area = rect != nullptr ? *rect : TLUX_MASK_RECT{0, 0, width, height};
  return applyInside(mask, pitch, area, radius, true);
}

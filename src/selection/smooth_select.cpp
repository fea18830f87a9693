#include <algorithm>
#include <cstdint>
#include <cstring>

#include "base/result.hpp"
#include "platform/scratch.hpp"
#include "tlux/selection.h"

namespace tlux::detail {
namespace {

constexpr int kReach = 2;
constexpr int kTaps = 2 * kReach + 1;
constexpr std::uint32_t kKernel[kTaps] = {35, 155, 256, 155, 35};

// Sum of the taps that fall on the map at one position along an axis of `size` samples.
std::uint32_t weightAt(std::int64_t position, std::int64_t size) {
  std::uint32_t weight = 0;
  for (int tap = 0; tap < kTaps; ++tap) {
    const std::int64_t sample = position + tap - kReach;
    if (sample >= 0 && sample < size) weight += kKernel[tap];
  }
  return weight;
}

// Weighted sums of the samples at five places: adjacent in a row, or in five consecutive rows.
template <class Sample>
void addTaps(const Sample* const (&taps)[kTaps], std::int64_t width,
             std::uint32_t* __restrict sums) {
  const Sample* __restrict a = taps[0];
  const Sample* __restrict b = taps[1];
  const Sample* __restrict c = taps[2];
  const Sample* __restrict d = taps[3];
  const Sample* __restrict e = taps[4];
  for (std::int64_t x = 0; x < width; ++x) {
    const std::uint32_t outer = std::uint32_t{a[x]} + e[x];
    const std::uint32_t inner = std::uint32_t{b[x]} + d[x];
    sums[x] = kKernel[0] * outer + kKernel[1] * inner + kKernel[2] * c[x];
  }
}

// Division of a weighted sum S by its weight W, rounded half up: (2·S + W) / (2·W).
//
// The quotient is taken as (n · m) >> 48 with m = ceil(2^48 / (2·W)). With W ≤ 636² the numerator n
// is below 2^28 and 2·W below 2^20, so n · (2·W·m - 2^48) < 2^48 and the result is exact; with
// W ≥ 256² m fits 32 bits and the product 64.
struct Normaliser {
  std::uint32_t weight;
  std::uint32_t reciprocal;
};

Normaliser makeNormaliser(std::uint32_t weight) {
  const std::uint64_t divisor = 2 * std::uint64_t{weight};
  return {weight, static_cast<std::uint32_t>(((std::uint64_t{1} << 48) + divisor - 1) / divisor)};
}

void normaliseRow(const std::uint32_t* __restrict sums, std::int64_t width,
                  const Normaliser& normaliser, std::uint8_t* __restrict out) {
  const std::uint32_t weight = normaliser.weight;
  const std::uint32_t reciprocal = normaliser.reciprocal;
  for (std::int64_t x = 0; x < width; ++x) {
    const std::uint64_t product = std::uint64_t{2 * sums[x] + weight} * reciprocal;
    out[x] = static_cast<std::uint8_t>(product >> 48);
  }
}

// Columns that are smoothed at a time, through buffers on the stack.
constexpr std::int64_t kPiece = 512;
// Represents the rows above and below the map.
constexpr std::uint32_t kZeros[kPiece] = {};

// Working memory of one call: five rows of horizontal sums, each reused once the rows that need it
// are done. A map of fewer rows needs fewer.
class SelectSmoother {
 public:
  SelectSmoother(MMemMgr manager, std::int64_t width, std::int64_t height)
      : width_(width), height_(height), sums_(manager, sumsFor(width, height)) {}

  explicit operator bool() const { return static_cast<bool>(sums_); }

  // Reads a row before it writes the one two rows above, so both maps may be the same.
  void run(const std::uint8_t* source, std::uint8_t* destination) {
    for (std::int64_t y = 0; y < height_ + kReach; ++y) {
      if (y < height_) {
        inPieces([&](std::int64_t x, std::int64_t end) {
          sumAcross(source + y * width_, x, end, sumsOf(y));
        });
      }
      if (y >= kReach) {
        inPieces([&](std::int64_t x, std::int64_t end) {
          finish(y - kReach, x, end, destination + (y - kReach) * width_);
        });
      }
    }
  }

 private:
  static std::int64_t sumsFor(std::int64_t width, std::int64_t height) {
    std::int64_t sums = 0;
    return __builtin_mul_overflow(width, std::min<std::int64_t>(kTaps, height), &sums) ? -1 : sums;
  }

  std::uint32_t* sumsOf(std::int64_t y) const { return sums_.get() + y % kTaps * width_; }

  template <class Work>
  void inPieces(Work work) const {
    for (std::int64_t x = 0; x < width_; x += kPiece) {
      work(x, std::min(x + kPiece, width_));
    }
  }

  // Columns x to end - 1; beyond both ends of the row samples are zero.
  void sumAcross(const std::uint8_t* row, std::int64_t x, std::int64_t end,
                 std::uint32_t* sums) const {
    std::uint8_t padded[kPiece + 2 * kReach] = {};
    const std::int64_t from = std::max<std::int64_t>(x - kReach, 0);
    const std::int64_t to = std::min(end + kReach, width_);
    std::memcpy(padded + (from - (x - kReach)), row + from, static_cast<std::size_t>(to - from));
    const std::uint8_t* p = padded;
    addTaps<std::uint8_t>({p, p + 1, p + 2, p + 3, p + 4}, end - x, sums + x);
  }

  void finish(std::int64_t y, std::int64_t x, std::int64_t end, std::uint8_t* out) const {
    const std::uint32_t* rows[kTaps];
    for (int tap = 0; tap < kTaps; ++tap) {
      const std::int64_t row = y + tap - kReach;
      rows[tap] = row >= 0 && row < height_ ? sumsOf(row) + x : kZeros;
    }
    std::uint32_t sums[kPiece];
    addTaps(rows, end - x, sums);

    // Inside, one weight holds for the whole row; the first and last two columns have different
    // ones.
    const std::uint32_t rowWeight = weightAt(y, height_);
    const auto normalise = [&](std::int64_t first, std::int64_t last) {
      const Normaliser normaliser = makeNormaliser(rowWeight * weightAt(first, width_));
      normaliseRow(sums + (first - x), last - first, normaliser, out + first);
    };
    const std::int64_t inside = std::min(std::max<std::int64_t>(x, kReach), end);
    const std::int64_t insideEnd = std::clamp(width_ - kReach, inside, end);
    for (std::int64_t column = x; column < inside; ++column) {
      normalise(column, column + 1);
    }
    if (inside < insideEnd) normalise(inside, insideEnd);
    for (std::int64_t column = insideEnd; column < end; ++column) {
      normalise(column, column + 1);
    }
  }

  std::int64_t width_;
  std::int64_t height_;
  Scratch<std::uint32_t> sums_;
};

Result smoothSelection(MMemMgr manager, const std::uint8_t* source, std::uint8_t* destination,
                       std::int64_t width, std::int64_t height) {
  if (source == nullptr || destination == nullptr) return Result::kInvalidParam;
  if (width < 1 || height < 1) return Result::kOk;
  SelectSmoother smoother(manager, width, height);
  if (!smoother) return Result::kNoMemory;
  smoother.run(source, destination);
  return Result::kOk;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t AME_SmoothSelect(MMemMgr manager, const uint8_t* source, uint8_t* destination,
                          int64_t width, int64_t height) noexcept {
  return codeOf(smoothSelection(manager, source, destination, width, height));
}

uint32_t AME_SmoothMidSelect(MMemMgr manager, const uint8_t* source, uint8_t* destination,
                             int64_t width, int64_t height) noexcept {
  return codeOf(smoothSelection(manager, source, destination, width, height));
}

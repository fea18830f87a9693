#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "platform/scratch.hpp"
#include "tlux/selection.h"

namespace tlux {
namespace {

constexpr int kReach = 2;
constexpr int kTaps = 2 * kReach + 1;
constexpr std::uint32_t kKernel[kTaps] = {35, 155, 256, 155, 35};

// Sum of the taps that fall on the map at a position along an axis of `size` samples.
std::uint32_t weightAt(std::int64_t position, std::int64_t size) {
  std::uint32_t weight = 0;
  for (int tap = 0; tap < kTaps; ++tap) {
    const std::int64_t sample = position + tap - kReach;
    if (sample >= 0 && sample < size) weight += kKernel[tap];
  }
  return weight;
}

// Weighted sums of the samples at five places: neighbours in a row, or rows above one another.
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

// Working memory of one call, in one block: five rows of horizontal sums, of which each is written
// over when the rows that need it are done; a row of zeros for the rows beyond the map; vertical
// sums; and one padded source row.
class SelectSmoother {
 public:
  SelectSmoother(MMemMgr manager, std::int64_t width, std::int64_t height)
      : width_(width), height_(height), words_(manager, wordsFor(width)) {}

  explicit operator bool() const { return static_cast<bool>(words_); }

  // A row is read before the one two rows above it is written, so both maps may be one.
  void run(const std::uint8_t* source, std::uint8_t* destination) {
    std::fill_n(zeros(), width_, 0u);
    std::memset(padded(), 0, static_cast<std::size_t>(width_ + 2 * kReach));
    for (std::int64_t y = 0; y < height_ + kReach; ++y) {
      if (y < height_) takeRow(source + y * width_, y);
      if (y >= kReach) finishRow(y - kReach, destination + (y - kReach) * width_);
    }
  }

 private:
  static constexpr std::int64_t kRows = kTaps + 2; // and the padded bytes

  static std::int64_t wordsFor(std::int64_t width) {
    constexpr std::int64_t kWidest = std::numeric_limits<std::int64_t>::max() / (4 * (kRows + 2));
    return width > kWidest ? -1 : kRows * width + (width + 2 * kReach + 3) / 4;
  }

  std::uint32_t* sumsOf(std::int64_t y) const { return words_.get() + y % kTaps * width_; }
  std::uint32_t* zeros() const { return words_.get() + kTaps * width_; }
  std::uint32_t* columnSums() const { return words_.get() + (kTaps + 1) * width_; }
  std::uint8_t* padded() const {
    return reinterpret_cast<std::uint8_t*>(words_.get() + kRows * width_);
  }

  void takeRow(const std::uint8_t* source, std::int64_t y) {
    std::uint8_t* row = padded(); // with zeros beyond both ends
    std::memcpy(row + kReach, source, static_cast<std::size_t>(width_));
    addTaps<std::uint8_t>({row, row + 1, row + 2, row + 3, row + 4}, width_, sumsOf(y));
  }

  void finishRow(std::int64_t y, std::uint8_t* out) {
    const std::uint32_t* rows[kTaps];
    for (int tap = 0; tap < kTaps; ++tap) {
      const std::int64_t row = y + tap - kReach;
      rows[tap] = row >= 0 && row < height_ ? sumsOf(row) : zeros();
    }
    addTaps(rows, width_, columnSums());

    // Inside, one weight holds for the whole row; the first and last two columns have their own.
    const std::uint32_t rowWeight = weightAt(y, height_);
    const auto normalise = [&](std::int64_t first, std::int64_t end) {
      const Normaliser normaliser = makeNormaliser(rowWeight * weightAt(first, width_));
      normaliseRow(columnSums() + first, end - first, normaliser, out + first);
    };
    const std::int64_t insideEnd = std::max<std::int64_t>(kReach, width_ - kReach);
    for (std::int64_t x = 0; x < std::min<std::int64_t>(kReach, width_); ++x) {
      normalise(x, x + 1);
    }
    if (kReach < insideEnd) normalise(kReach, insideEnd);
    for (std::int64_t x = insideEnd; x < width_; ++x) {
      normalise(x, x + 1);
    }
  }

  std::int64_t width_;
  std::int64_t height_;
  Scratch<std::uint32_t> words_;
};

std::uint32_t smoothSelection(MMemMgr manager, const std::uint8_t* source,
                              std::uint8_t* destination, std::int64_t width, std::int64_t height) {
  if (source == nullptr || destination == nullptr) return TLUX_ERR_INVALID_PARAM;
  if (width < 1 || height < 1) return TLUX_OK;
  SelectSmoother smoother(manager, width, height);
  if (!smoother) return TLUX_ERR_NO_MEMORY;
  smoother.run(source, destination);
  return TLUX_OK;
}

} // namespace
} // namespace tlux

uint32_t AME_SmoothSelect(MMemMgr manager, const uint8_t* source, uint8_t* destination,
                          int64_t width, int64_t height) noexcept {
  return tlux::smoothSelection(manager, source, destination, width, height);
}

uint32_t AME_SmoothMidSelect(MMemMgr manager, const uint8_t* source, uint8_t* destination,
                             int64_t width, int64_t height) noexcept {
  return tlux::smoothSelection(manager, source, destination, width, height);
}

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

namespace tlux::detail {

// Separable interpolation of bytes without allocating memory: the core of every resizer.
//
// A policy defines the input samples ("taps") of an output sample and how they combine:
//
//   kTaps, kWeights     taps per axis, and the numbers that weigh them
//   Weight, Row         type of a weight, and of a sample of a row interpolated along x
//   at(i)               TapPoint of output sample i
//   alongX(taps, weights, count, out)
//                       Rows of a run of samples, the taps of each side by side; not called
//                       without weights, when the tap is the Row
//   alongY(rows, weights, count, out)
//                       output bytes of a run of Rows that lie below each other
//
// Taps beyond an edge of the input repeat its edge sample.
template <class Policy>
using Weights = std::array<typename Policy::Weight, std::size_t{Policy::kWeights}>;

// Samples interpolated at a time: whole rows of most pictures, since sequential access is fastest,
// in about 50 KB of stack.
template <class Policy>
inline constexpr std::int32_t kRunSize = 4096 / Policy::kTaps;

// The weights of each sample of a run.
template <class Policy>
using WeightLines = std::array<std::array<typename Policy::Weight, std::size_t{kRunSize<Policy>}>,
                               std::size_t{Policy::kWeights}>;

template <class Policy>
using RowsBelow = std::array<const typename Policy::Row*, std::size_t{Policy::kTaps}>;

template <class Policy>
struct TapPoint {
  std::int64_t first; // the taps are first, first + 1, …, possibly beyond the edges
  Weights<Policy> weights;
};

// One axis of a resize: the positions of its output samples, and the number of input samples.
template <class Policy>
struct Axis {
  Policy policy;
  std::int64_t inputs;

  std::int64_t clamped(std::int64_t tap) const {
    return std::clamp(tap, std::int64_t{0}, inputs - 1);
  }
};

// The layout of the samples in a row: `channels` to a pixel, each `step` bytes from the next.
struct SampleLayout {
  std::int64_t channels = 1;
  std::int64_t step = 1;
};

// Interpolates a run of samples of a row: the offsets and weights of the run are computed once, and
// each input row is interpolated along x once for all output rows that use it.
template <class Policy>
class InterpolatedRun {
  using Row = typename Policy::Row;
  static constexpr std::size_t kTaps = Policy::kTaps;
  static constexpr std::int32_t kSize = kRunSize<Policy>;
  static constexpr bool kIsPick = Policy::kWeights == 0;

 public:
  // Rounded to whole pixels, so that their samples are gathered together.
  static std::int64_t sizeFor(const SampleLayout& layout) {
    return kSize - kSize % layout.channels;
  }

  // Samples [first, first + count) of an output row; count is at most sizeFor(layout).
  InterpolatedRun(const Axis<Policy>& x, const SampleLayout& layout, std::int64_t first,
                  std::int32_t count)
      : channels_(layout.step == 1 ? layout.channels : 0),
        rowBytes_(x.inputs * layout.channels * layout.step),
        count_(count) {
    for (std::int32_t k = 0; k < count; ++k) {
      const std::int64_t channel = (first + k) % layout.channels;
      const TapPoint<Policy> point = x.policy.at((first + k) / layout.channels);
      for (std::size_t j = 0; j < kTaps; ++j) {
        const std::int64_t pixel = x.clamped(point.first + static_cast<std::int64_t>(j));
        offsets_[j][k] = (pixel * layout.channels + channel) * layout.step;
      }
      for (std::size_t j = 0; j < weights_.size(); ++j) {
        weights_[j][static_cast<std::size_t>(k)] = point.weights[j];
      }
      const bool isInside = point.first >= 0 && point.first + std::int64_t{kTaps} <= x.inputs;
      const bool isWhole = k - channel + layout.channels <= count;
      if (!isInside || !isWhole) continue;
      if (insideEnd_ == 0) insideFirst_ = k;
      const std::ptrdiff_t distance = offsets_[0][k] - offsets_[0][insideFirst_];
      if (distance > std::numeric_limits<std::uint16_t>::max()) continue;
      distances_[k] = static_cast<std::uint16_t>(distance);
      insideEnd_ = k + 1;
    }
    insideEnd_ -= (insideEnd_ - insideFirst_) % static_cast<std::int32_t>(layout.channels);
  }

  // Writes the run's samples of the output row that `point` belongs to. inputRow(i) is input row i.
  template <class InputRow>
  void mixRows(std::uint8_t* out, std::int64_t step, const Axis<Policy>& y,
               const TapPoint<Policy>& point, InputRow inputRow) {
    const auto rows = rowsAt(y, point.first, inputRow, std::make_index_sequence<kTaps>{});
    if (step == 1) {
      Policy::alongY(rows, point.weights, count_, out);
      return;
    }
    std::uint8_t line[kSize];
    Policy::alongY(rows, point.weights, count_, line);
    for (std::int32_t k = 0; k < count_; ++k) {
      out[k * step] = line[k];
    }
  }

 private:
  template <class InputRow, std::size_t... kTap>
  RowsBelow<Policy> rowsAt(const Axis<Policy>& y, std::int64_t first, InputRow inputRow,
                           std::index_sequence<kTap...> /*taps*/) {
    return {interpolated(y.clamped(first + std::int64_t{kTap}), inputRow)...};
  }

  // The rows needed for one output row are consecutive, so each has its own slot.
  template <class InputRow>
  const Row* interpolated(std::int64_t y, InputRow inputRow) {
    const std::size_t slot = static_cast<std::size_t>(y) % kTaps;
    if (rowInSlot_[slot] != y + 1) {
      rowInSlot_[slot] = y + 1;
      if constexpr (kIsPick) {
        gather(inputRow(y), slots_[slot]);
      } else {
        gather(inputRow(y), taps_);
        Policy::alongX(taps_, weights_, count_, slots_[slot]);
      }
    }
    return slots_[slot];
  }

  // Gathers the taps of all samples side by side, so the arithmetic can be vectorised.
  void gather(const std::uint8_t* in, std::uint8_t* taps) const {
    switch (channels_) {
      case 1:
        return gatherAround<1>(in, taps);
      case 2:
        return gatherAround<2>(in, taps);
      case 3:
        return gatherAround<3>(in, taps);
      case 4:
        return gatherAround<4>(in, taps);
      default:
        return gatherEach(in, taps, 0, count_);
    }
  }

  template <int kChannels>
  void gatherAround(const std::uint8_t* in, std::uint8_t* taps) const {
    gatherEach(in, taps, 0, insideFirst_);
    gatherInside<kChannels>(in, taps);
    gatherEach(in, taps, insideEnd_, count_);
  }

  // Where all taps are adjacent in the input, pixels are copied whole.
  template <int kChannels>
  void gatherInside(const std::uint8_t* in, std::uint8_t* taps) const {
    constexpr std::ptrdiff_t kStep{kTaps};
    in += offsets_[0][insideFirst_];
    if constexpr (kChannels == 1 || kTaps == 1) {
      copyPixels<kChannels, kChannels * kTaps>(in, taps, kStep);
    } else if constexpr (kChannels == 2 && kTaps == 2) {
      copyPixels<2, 4>(in, taps, kStep);
      swapMiddleBytes(taps + kStep * insideFirst_, (insideEnd_ - insideFirst_) / 2);
    } else if constexpr (kChannels == 3 && kTaps == 2) {
      pairPixels(in, taps);
    } else {
      std::uint8_t lines[kTaps][kSize];
      for (std::size_t j = 0; j < kTaps; ++j) {
        copyPixels<kChannels, kChannels>(in + j * kChannels, lines[j], 1);
      }
      for (std::ptrdiff_t k = insideFirst_; k < insideEnd_; ++k) {
        for (std::size_t j = 0; j < kTaps; ++j) {
          taps[k * kStep + static_cast<std::ptrdiff_t>(j)] = lines[j][k];
        }
      }
    }
  }

  template <int kChannels, int kBytes>
  void copyPixels(const std::uint8_t* __restrict in, std::uint8_t* __restrict out,
                  std::ptrdiff_t step) const {
    const std::uint16_t* __restrict distances = distances_;
    const std::ptrdiff_t end = insideEnd_;
#pragma GCC unroll 4
    for (std::ptrdiff_t k = insideFirst_; k < end; k += kChannels) {
      std::memcpy(out + k * step, in + distances[k], kBytes);
    }
  }

  // Two neighbours of three bytes each become pairs of taps. For each, eight bytes are loaded and
  // eight stored, of which the next pixel overwrites two; at the end of the row pixels are gathered
  // byte by byte.
  void pairPixels(const std::uint8_t* __restrict in, std::uint8_t* __restrict taps) const {
    std::int32_t end = insideEnd_;
    while (end > insideFirst_ && offsets_[1][end - 3] + 8 > rowBytes_) {
      end -= 3;
    }
    const std::uint16_t* __restrict distances = distances_;
#pragma GCC unroll 4
    for (std::int32_t k = insideFirst_; k < end; k += 3) {
      using EightBytes [[gnu::vector_size(8)]] = std::uint8_t;
      EightBytes left;
      EightBytes right;
      std::memcpy(&left, in + distances[k], sizeof left);
      std::memcpy(&right, in + distances[k] + 3, sizeof right);
      const EightBytes pairs = __builtin_shufflevector(left, right, 0, 8, 1, 9, 2, 10, 3, 11);
      std::memcpy(taps + std::ptrdiff_t{2} * k, &pairs, sizeof pairs);
    }
    gatherEach(in - offsets_[0][insideFirst_], taps, end, insideEnd_);
  }

  // Turns the pairs of two pixels into two taps of each component.
  static void swapMiddleBytes(std::uint8_t* bytes, std::ptrdiff_t words) {
    for (std::ptrdiff_t i = 0; i < words; ++i) {
      std::uint32_t word = 0;
      std::memcpy(&word, bytes + 4 * i, sizeof word);
      word = (word & 0xFF0000FFu) | (word & 0xFF00u) << 8 | (word >> 8 & 0xFF00u);
      std::memcpy(bytes + 4 * i, &word, sizeof word);
    }
  }

  void gatherEach(const std::uint8_t* __restrict in, std::uint8_t* __restrict taps,
                  std::ptrdiff_t first, std::ptrdiff_t end) const {
    for (std::size_t j = 0; j < kTaps; ++j) {
      const std::ptrdiff_t* __restrict offsets = offsets_[j];
      std::uint8_t* __restrict tap = taps + j;
      for (std::ptrdiff_t k = first; k < end; ++k) {
        tap[k * std::ptrdiff_t{kTaps}] = in[offsets[k]];
      }
    }
  }

  std::int64_t channels_; // 0 if the samples of a pixel are not adjacent
  std::int64_t rowBytes_; // of the input
  std::int32_t count_;
  // The samples of whole pixels whose taps are all adjacent in the input, and their distance from
  // those of the first one: narrow types, to keep the nearest cache for the samples.
  std::int32_t insideFirst_ = 0;
  std::int32_t insideEnd_ = 0;
  std::uint16_t distances_[kSize];
  std::int64_t rowInSlot_[kTaps] = {}; // one more than the row; 0 for none
  std::ptrdiff_t offsets_[kTaps][kSize];
  WeightLines<Policy> weights_;
  std::uint8_t taps_[kTaps * kSize];
  Row slots_[kTaps][kSize] = {};
};

// The part of an output to be made: samples [0, rowSamples) of rows [firstRow, endRow).
struct OutputRange {
  std::int64_t rowSamples;
  std::int64_t firstRow;
  std::int64_t endRow;
};

// Interpolates rows of bytes. inputRow(y) and outputRow(y) give the first sample of row y.
template <class Policy, class InputRow, class OutputRow>
void interpolate(const Axis<Policy>& x, const Axis<Policy>& y, const SampleLayout& layout,
                 const OutputRange& range, InputRow inputRow, OutputRow outputRow) {
  using Run = InterpolatedRun<Policy>;
  const std::int64_t size = Run::sizeFor(layout);
  for (std::int64_t first = 0; first < range.rowSamples; first += size) {
    const std::int64_t count = std::min(range.rowSamples - first, size);
    Run run(x, layout, first, static_cast<std::int32_t>(count));
    for (std::int64_t row = range.firstRow; row < range.endRow; ++row) {
      run.mixRows(outputRow(row) + first * layout.step, layout.step, y, y.policy.at(row), inputRow);
    }
  }
}

} // namespace tlux::detail

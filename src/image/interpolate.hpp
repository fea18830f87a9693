#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace tlux {

// Separable interpolation of bytes without memory of its own: the machine of every resizer.
//
// A policy says which input samples ("taps") an output sample is made of, and how:
//
//   kTaps, kWeights     taps per axis, and the numbers that weigh them
//   Weight, Row         type of a weight, and of a sample of a row interpolated along x
//   at(i)               TapPoint of output sample i
//   alongX(taps, w)     Row of bytes that lie side by side
//   alongY(rows, w)     the output byte of Rows that lie below each other
//
// Taps beyond an edge of the input are its edge sample.
template <class Policy>
using Weights = std::array<typename Policy::Weight, std::size_t{Policy::kWeights}>;

template <class Policy>
struct TapPoint {
  std::int64_t first; // the taps are first, first + 1, …; may lie beyond the edges
  Weights<Policy> weights;
};

// One axis of a resize: where its output samples lie, and how many input samples there are.
template <class Policy>
struct Axis {
  Policy policy;
  std::int64_t inputs;

  std::int64_t clamped(std::int64_t tap) const {
    return std::clamp(tap, std::int64_t{0}, inputs - 1);
  }
};

// How the samples of a row lie in memory: `channels` to a pixel, each `step` bytes from the next.
struct SampleLayout {
  std::int64_t channels = 1;
  std::int64_t step = 1;
};

// Interpolates a run of samples of a row: the offsets and weights of the run are worked out once,
// and each input row is interpolated along x once for all output rows that use it.
template <class Policy>
class InterpolatedRun {
  using Row = typename Policy::Row;
  static constexpr std::size_t kTaps = Policy::kTaps;
  static constexpr std::size_t kWeights = Policy::kWeights;

 public:
  static constexpr std::int32_t kSize = 512;
  using WeightLines = std::array<std::array<typename Policy::Weight, std::size_t{kSize}>, kWeights>;

  // Samples [first, first + count) of an output row; count is at most kSize.
  InterpolatedRun(const Axis<Policy>& x, const SampleLayout& layout, std::int64_t first,
                  std::int32_t count)
      : count_(count) {
    const bool isContiguous = layout.channels == 1 && layout.step == 1;
    for (std::int32_t k = 0; k < count; ++k) {
      const std::int64_t channel = (first + k) % layout.channels;
      const TapPoint<Policy> point = x.policy.at((first + k) / layout.channels);
      for (std::size_t j = 0; j < kTaps; ++j) {
        const std::int64_t pixel = x.clamped(point.first + static_cast<std::int64_t>(j));
        offsets_[j][k] = (pixel * layout.channels + channel) * layout.step;
      }
      for (std::size_t j = 0; j < kWeights; ++j) {
        weights_[j][static_cast<std::size_t>(k)] = point.weights[j];
      }
      const bool isInside =
          point.first >= 0 && point.first + std::int64_t{Policy::kTaps} <= x.inputs;
      if (!isContiguous || !isInside) continue;
      if (insideEnd_ == 0) insideFirst_ = k;
      insideEnd_ = k + 1;
    }
  }

  // Writes the run's samples of the output row that `point` belongs to. inputRow(i) is input row i.
  template <class InputRow>
  void mixRows(std::uint8_t* out, std::int64_t step, const Axis<Policy>& y,
               const TapPoint<Policy>& point, InputRow inputRow) {
    const auto rows = rowsAt(y, point.first, inputRow, std::make_index_sequence<kTaps>{});
    if (step == 1) {
      mix(out, rows, point.weights, std::make_index_sequence<kTaps>{});
      return;
    }
    std::uint8_t line[kSize];
    mix(line, rows, point.weights, std::make_index_sequence<kTaps>{});
    for (std::int32_t k = 0; k < count_; ++k) {
      out[k * step] = line[k];
    }
  }

 private:
  template <class InputRow, std::size_t... kTap>
  std::array<const Row*, kTaps> rowsAt(const Axis<Policy>& y, std::int64_t first, InputRow inputRow,
                                       std::index_sequence<kTap...> /*taps*/) {
    return {interpolated(y.clamped(first + std::int64_t{kTap}), inputRow)...};
  }

  // The rows of one output row follow each other, so each has its slot.
  template <class InputRow>
  const Row* interpolated(std::int64_t y, InputRow inputRow) {
    const std::size_t slot = static_cast<std::size_t>(y) % kTaps;
    if (rowInSlot_[slot] != y + 1) {
      rowInSlot_[slot] = y + 1;
      gather(inputRow(y));
      interpolateAlongX(slots_[slot]);
    }
    return slots_[slot];
  }

  // Collects the taps of all samples, side by side, so that the arithmetic can be vectorised.
  void gather(const std::uint8_t* in) {
    gatherEach(in, 0, insideFirst_);
    gatherInside(in, offsets_[0], taps_, insideFirst_, insideEnd_);
    gatherEach(in, insideEnd_, count_);
  }

  static void gatherInside(const std::uint8_t* __restrict in,
                           const std::ptrdiff_t* __restrict offsets, std::uint8_t* __restrict taps,
                           std::ptrdiff_t first, std::ptrdiff_t end) {
#pragma GCC unroll 4
    for (std::ptrdiff_t k = first; k < end; ++k) {
      std::memcpy(taps + k * std::ptrdiff_t{kTaps}, in + offsets[k], kTaps);
    }
  }

  void gatherEach(const std::uint8_t* __restrict in, std::ptrdiff_t first, std::ptrdiff_t end) {
    for (std::size_t j = 0; j < kTaps; ++j) {
      const std::ptrdiff_t* __restrict offsets = offsets_[j];
      std::uint8_t* __restrict taps = taps_ + j;
      for (std::ptrdiff_t k = first; k < end; ++k) {
        taps[k * std::ptrdiff_t{kTaps}] = in[offsets[k]];
      }
    }
  }

  void interpolateAlongX(Row* __restrict out) const {
    for (std::size_t k = 0; k < static_cast<std::size_t>(count_); ++k) {
      std::array<std::uint8_t, kTaps> taps;
      for (std::size_t j = 0; j < kTaps; ++j) {
        taps[j] = taps_[k * kTaps + j];
      }
      out[k] = Policy::alongX(taps, weightsAt(weights_, k));
    }
  }

  template <std::size_t... kTap>
  void mix(std::uint8_t* __restrict out, const std::array<const Row*, kTaps>& rows,
           const Weights<Policy>& weights, std::index_sequence<kTap...> /*taps*/) {
    for (std::size_t j = 0; j < kWeights; ++j) {
      std::fill_n(rowWeights_[j].begin(), count_, weights[j]);
    }
    mixLines(out, count_, rowWeights_, rows[kTap]...);
  }

  template <class... RowOf>
  static void mixLines(std::uint8_t* __restrict out, std::int32_t count, const WeightLines& weights,
                       const RowOf* __restrict... rows) {
    for (std::size_t k = 0; k < static_cast<std::size_t>(count); ++k) {
      out[k] = Policy::alongY({rows[k]...}, weightsAt(weights, k));
    }
  }

  static Weights<Policy> weightsAt(const WeightLines& lines, std::size_t k) {
    Weights<Policy> weights;
    for (std::size_t j = 0; j < kWeights; ++j) {
      weights[j] = lines[j][k];
    }
    return weights;
  }

  std::int32_t count_;
  // The samples whose taps all lie side by side in the input.
  std::int32_t insideFirst_ = 0;
  std::int32_t insideEnd_ = 0;
  std::int64_t rowInSlot_[kTaps] = {}; // one more than the row; 0 for none
  std::ptrdiff_t offsets_[kTaps][kSize];
  WeightLines weights_;
  WeightLines rowWeights_; // of the output row, each repeated: products of two loaded vectors
  std::uint8_t taps_[kTaps * kSize];
  Row slots_[kTaps][kSize] = {};
};

// The part of an output that is made: samples [0, rowSamples) of rows [firstRow, endRow).
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
  for (std::int64_t first = 0; first < range.rowSamples; first += Run::kSize) {
    const std::int64_t count = std::min<std::int64_t>(range.rowSamples - first, Run::kSize);
    Run run(x, layout, first, static_cast<std::int32_t>(count));
    for (std::int64_t row = range.firstRow; row < range.endRow; ++row) {
      run.mixRows(outputRow(row) + first * layout.step, layout.step, y, y.policy.at(row), inputRow);
    }
  }
}

} // namespace tlux

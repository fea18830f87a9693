#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace tlux {

// Bilinear resampling of bytes without memory of its own: the core of every bilinear resizer here.
//
// A policy tells where output samples lie (a class of one axis with `SamplePoint at(index)`) and
// the fixed-point formats: weights of kWeightBits bits, rows resampled along x kept as 16-bit
// values of kRowBits fraction bits, and whether results are rounded.

// An output sample lies between two input samples, `weight` of the way (in units of the policy)
// from one to the other.
struct SamplePoint {
  std::int64_t near;
  std::int64_t far;
  std::uint32_t weight;
};

// Truncated Q8: output sample i lies at i·floor(256·input / output) / 256.
class CornerAligned {
 public:
  static constexpr int kWeightBits = 8;
  static constexpr int kRowBits = 8;
  static constexpr bool kRounded = false;

  CornerAligned(std::int64_t inputs, std::int64_t outputs)
      : step_((inputs << kWeightBits) / outputs), last_(inputs - 1) {}

  SamplePoint at(std::int64_t i) const {
    const std::int64_t position = i * step_;
    const std::int64_t near = std::min(position >> kWeightBits, last_);
    const auto weight = static_cast<std::uint32_t>(position & ((1 << kWeightBits) - 1));
    return {near, std::min(near + 1, last_), weight};
  }

 private:
  std::int64_t step_;
  std::int64_t last_;
};

// Rounded Q11: output sample i lies at (i + 1/2)·input / output - 1/2, so that the centres of the
// images meet; positions beyond the outer samples are those samples. Equal sizes give a copy.
class CentreAligned {
 public:
  static constexpr int kWeightBits = 11;
  static constexpr int kRowBits = 7;
  static constexpr bool kRounded = true;

  CentreAligned(std::int64_t inputs, std::int64_t outputs) : inputs_(inputs), outputs_(outputs) {}

  SamplePoint at(std::int64_t i) const {
    // The position in units of 1 / (2·outputs). Sizes have 31 bits, so this has 63.
    const std::int64_t unit = 2 * outputs_;
    const std::int64_t position = std::max((2 * i + 1) * inputs_ - outputs_, std::int64_t{0});
    const std::int64_t near = position / unit;
    const std::int64_t rest = position % unit;
    const auto weight = static_cast<std::uint32_t>(((rest << kWeightBits) + outputs_) / unit);
    return {near, std::min(near + 1, inputs_ - 1), weight};
  }

 private:
  std::int64_t inputs_;
  std::int64_t outputs_;
};

// Resamples a run of samples of interleaved rows: the offsets and weights of the run are worked out
// once, and each input row is resampled along x once for all output rows that use it.
template <class Policy>
class BilinearRun {
 public:
  static constexpr std::int32_t kSize = 512;

  // Samples [first, first + count) of an output row; count is at most kSize.
  BilinearRun(const Policy& x, std::int64_t channels, std::int64_t first, std::int32_t count)
      : count_(count) {
    for (std::int32_t k = 0; k < count; ++k) {
      const std::int64_t pixel = (first + k) / channels;
      const std::int64_t channel = (first + k) % channels;
      const SamplePoint point = x.at(pixel);
      near_[k] = point.near * channels + channel;
      far_[k] = point.far * channels + channel;
      weight_[k] = static_cast<std::uint16_t>(point.weight);
    }
  }

  // Writes the run's samples of the output row at `y`. inputRow(i) is input row i.
  template <class InputRow>
  void mixRows(std::uint8_t* __restrict out, const SamplePoint& y, InputRow inputRow) {
    const std::uint16_t* __restrict near = resampled(y.near, inputRow);
    const std::uint16_t* __restrict far = resampled(y.far, inputRow);
    constexpr int kShift = Policy::kRowBits + Policy::kWeightBits;
    constexpr std::uint32_t kRounding = Policy::kRounded ? 1u << (kShift - 1) : 0;
    const auto farWeight = static_cast<std::uint16_t>(y.weight);
    const auto nearWeight = static_cast<std::uint16_t>(kOne - y.weight);
    for (std::int32_t k = 0; k < count_; ++k) {
      const std::uint32_t sum =
          std::uint32_t{near[k]} * nearWeight + std::uint32_t{far[k]} * farWeight;
      out[k] = static_cast<std::uint8_t>((sum + kRounding) >> kShift);
    }
  }

 private:
  static constexpr std::uint32_t kOne = 1u << Policy::kWeightBits;

  // Neighbouring rows use different slots.
  template <class InputRow>
  const std::uint16_t* resampled(std::int64_t y, InputRow inputRow) {
    const std::size_t slot = static_cast<std::size_t>(y) % 2;
    if (rowInSlot_[slot] != y) {
      rowInSlot_[slot] = y;
      resampleAlongX(slots_[slot], inputRow(y));
    }
    return slots_[slot];
  }

  void resampleAlongX(std::uint16_t* __restrict out, const std::uint8_t* __restrict in) const {
    constexpr int kShift = Policy::kWeightBits - Policy::kRowBits;
    constexpr std::uint32_t kRounding = Policy::kRounded && kShift > 0 ? 1u << (kShift - 1) : 0;
    for (std::int32_t k = 0; k < count_; ++k) {
      const std::uint32_t sum = in[near_[k]] * (kOne - weight_[k]) + in[far_[k]] * weight_[k];
      out[k] = static_cast<std::uint16_t>((sum + kRounding) >> kShift);
    }
  }

  std::int32_t count_;
  std::ptrdiff_t near_[kSize];
  std::ptrdiff_t far_[kSize];
  std::uint16_t weight_[kSize];
  std::uint16_t slots_[2][kSize] = {};
  std::int64_t rowInSlot_[2] = {-1, -1};
};

struct ImageSize {
  std::int32_t width;
  std::int32_t height;

  bool isEmpty() const { return width <= 0 || height <= 0; }
};

// Resizes an image of interleaved bytes. inputRow(y) and outputRow(y) give the rows.
template <class Policy, class InputRow, class OutputRow>
void resizeBilinear(ImageSize input, ImageSize output, std::int64_t channels, InputRow inputRow,
                    OutputRow outputRow) {
  if (input.isEmpty() || output.isEmpty()) return;
  using Run = BilinearRun<Policy>;
  const Policy x(input.width, output.width);
  const Policy y(input.height, output.height);
  const std::int64_t rowSamples = output.width * channels;
  for (std::int64_t first = 0; first < rowSamples; first += Run::kSize) {
    const std::int64_t count = std::min<std::int64_t>(rowSamples - first, Run::kSize);
    Run run(x, channels, first, static_cast<std::int32_t>(count));
    for (std::int64_t row = 0; row < output.height; ++row) {
      run.mixRows(outputRow(row) + first, y.at(row), inputRow);
    }
  }
}

} // namespace tlux

#include "reduce/row_reader.hpp"

#include <algorithm>
#include <cstring>

namespace tlux::detail {
namespace {

constexpr int kMaxOutputs = 3; // per step
constexpr std::int64_t kCacheLine = 64;

// A reduction skips rows, which hardware prefetchers do not follow from one group to the next.
void prefetch(const SourceRows& rows, std::int64_t begin, std::int64_t end) {
  for (const std::uint8_t* row : rows) {
    if (row == nullptr) continue;
    for (std::int64_t at = begin; at < end; at += kCacheLine) {
      __builtin_prefetch(row + at);
    }
  }
}

// Steps that read only available bytes.
std::int64_t stepsInside(const RowKernel& kernel, std::int64_t available) {
  return available < kernel.reach ? 0 : (available - kernel.reach) / kernel.step + 1;
}

SourceRows advanced(const SourceRows& rows, std::int64_t bytes) {
  SourceRows result{};
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (rows[i] != nullptr) result[i] = rows[i] + bytes;
  }
  return result;
}

// One step that extends past the available bytes, made from a copy padded with repeated samples.
class LastStep {
 public:
  LastStep(const RowKernel& kernel, const SourceRows& rows, std::int64_t begin,
           std::int64_t available) {
    const std::int64_t last = available - kernel.sampleBytes;
    for (std::size_t i = 0; i < rows.size() && rows[i] != nullptr; ++i) {
      for (int at = 0; at < kernel.reach; ++at) {
        const std::int64_t repeated = last + at % kernel.sampleBytes;
        copies_[i][static_cast<std::size_t>(at)] = rows[i][std::min(begin + at, repeated)];
      }
      rows_[i] = copies_[i].data();
    }
    kernel.reduce(rows_, first_.data(), second_.data(), 1);
  }
  void write(std::uint8_t* first, std::uint8_t* second, std::int64_t outputs) const {
    const auto bytes = static_cast<std::size_t>(outputs);
    std::memcpy(first, first_.data(), bytes);
    if (second != nullptr) std::memcpy(second, second_.data(), bytes);
  }

 private:
  std::array<std::array<std::uint8_t, kMaxReach>, 3> copies_;
  SourceRows rows_{};
  std::array<std::uint8_t, kMaxOutputs> first_;
  std::array<std::uint8_t, kMaxOutputs> second_;
};

} // namespace

void reduceRow(const RowKernel& kernel, const SourceRows& rows, const SourceRows& next,
               std::int64_t available, std::uint8_t* first, std::uint8_t* second,
               std::int64_t outputs) {
  const auto at = [&](std::uint8_t* out, std::int64_t step) {
    return out == nullptr ? nullptr : out + step * kernel.outputs;
  };
  const std::int64_t steps = std::min(outputs / kernel.outputs, stepsInside(kernel, available));
  const std::int64_t stretch = kernel.longestStretch();
  for (std::int64_t step = 0; step < steps; step += stretch) {
    const std::int64_t end = std::min(step + stretch, steps);
    prefetch(next, step * kernel.step, end * kernel.step);
    kernel.reduce(advanced(rows, step * kernel.step), at(first, step), at(second, step),
                  end - step);
  }
  for (std::int64_t step = steps; step * kernel.outputs < outputs; ++step) {
    const LastStep last(kernel, rows, step * kernel.step, available);
    last.write(at(first, step), at(second, step),
               std::min<std::int64_t>(kernel.outputs, outputs - step * kernel.outputs));
  }
}

} // namespace tlux::detail

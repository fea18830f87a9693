#pragma once

#include <algorithm>
#include <vector>

#include "support/guarded_buffer.hpp"
#include "support/random.hpp"
#include "tlux/simple_image.h"

namespace tlux::test {

// A simple image with its own memory and any stride, which ends at an inaccessible page directly
// after the last sample; `bottomUp` makes the stride negative. Remembers the pixels it was given
// last.
class TestImage {
 public:
  using Bytes = std::vector<std::uint8_t>;

  TestImage(int width, int height, int channels, int depth, int gap = 0, bool bottomUp = false)
      : rowBytes_(width * channels * depth / 8),
        stride_(rowBytes_ + gap),
        buffer_(stride_ * (height - 1) + rowBytes_, kGap) {
    for (int y = 0; y < height; ++y)
      rows_.push_back(buffer_.data() + stride_ * y);
    if (bottomUp) std::reverse(rows_.begin(), rows_.end());
    const int stride = static_cast<int>(stride_);
    record = {width,    height,      bottomUp ? -stride : stride, height * stride, channels, depth,
              rows_[0], rows_.data()};
    given_ = pixels();
  }

  // Images of bytes with the given pixels.
  TestImage(int width, int height, int channels, const Bytes& pixels, int gap = 0,
            bool bottomUp = false)
      : TestImage(width, height, channels, 8, gap, bottomUp) {
    setPixels(pixels);
  }
  TestImage(Random& random, int width, int height, int channels, int depth = 8, int gap = 0)
      : TestImage(width, height, channels, depth, gap) {
    setPixels(random.values<std::uint8_t>(given_.size()));
  }

  operator img*() { return &record; }
  img* operator->() { return &record; }

  Bytes pixels() const {
    Bytes out;
    for (const std::uint8_t* row : rows_)
      out.insert(out.end(), row, row + rowBytes_);
    return out;
  }
  void setPixels(const Bytes& pixels) {
    auto from = pixels.begin();
    for (std::uint8_t* row : rows_) {
      std::copy_n(from, rowBytes_, row);
      from += rowBytes_;
    }
    given_ = pixels;
  }

  // Sample `channel` of a pixel, its current and its original value.
  int at(int x, int y, int channel = 0) const { return rows_[y][x * record.channels + channel]; }
  int was(int x, int y, int channel = 0) const {
    return given_[y * rowBytes_ + x * record.channels + channel];
  }
  const Bytes& given() const { return given_; }
  bool isUnchanged() const { return pixels() == given_; }
  // Whether nothing next to the pixels was overwritten.
  bool isIntact() {
    std::ptrdiff_t at = 0;
    return buffer_.isIntact() && std::ranges::all_of(buffer_.bytes(), [&](std::uint8_t byte) {
             return at++ % stride_ < rowBytes_ || byte == kGap;
           });
  }

  img record{};

 private:
  static constexpr std::uint8_t kGap = 0xA5;

  std::ptrdiff_t rowBytes_;
  std::ptrdiff_t stride_;
  GuardedBuffer buffer_;
  std::vector<std::uint8_t*> rows_;
  Bytes given_;
};

// Calls a function that takes its images as planes.
template <class Function, class... More>
std::uint32_t onPlanes(Function* function, const img& in, const img& out, More... more) {
  return function(nullptr, in.data, in.stride, out.data, out.stride, in.width, in.height, more...);
}

} // namespace tlux::test

#pragma once

#include <cstdlib>
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
      : pixels_(width * channels * depth / 8, height, gap, bottomUp), given_(pixels()) {
    for (int y = 0; y < height; ++y)
      rows_.push_back(pixels_.row(y));
    record = {width,    height, pixels_.pitch(), height * std::abs(pixels_.pitch()),
              channels, depth,  pixels_.data(),  rows_.data()};
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

  Bytes pixels() const { return pixels_.samples(); }
  void setPixels(const Bytes& pixels) {
    pixels_.set(pixels);
    given_ = pixels;
  }

  // Sample `channel` of a pixel, its current and its original value.
  int at(int x, int y, int channel = 0) const { return rows_[y][x * record.channels + channel]; }
  int was(int x, int y, int channel = 0) const {
    return given_[(y * record.width + x) * record.channels + channel];
  }
  const Bytes& given() const { return given_; }
  bool isUnchanged() const { return pixels() == given_; }
  // Whether nothing next to the pixels was overwritten.
  bool isIntact() { return pixels_.isIntact(); }

  img record{};

 private:
  GuardedRows pixels_;
  std::vector<std::uint8_t*> rows_;
  Bytes given_;
};

// Calls a function that takes its images as planes.
template <class Function, class... More>
std::uint32_t onPlanes(Function* function, const img& in, const img& out, More... more) {
  return function(nullptr, in.data, in.stride, out.data, out.stride, in.width, in.height, more...);
}

} // namespace tlux::test

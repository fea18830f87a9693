#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/guarded_buffer.hpp"
#include "tlux/simple_image.h"

namespace tlux::test {

// A simple image over memory of its own with any distance between rows, which ends right behind the
// last sample of the last row. A negative distance stores the rows bottom up.
class TestImage {
 public:
  TestImage(int width, int height, int channels, int depth, int gap = 0, bool bottomUp = false)
      : rowBytes_(static_cast<std::size_t>(width * channels * depth / 8)),
        stride_(rowBytes_ + static_cast<std::size_t>(gap)),
        buffer_(stride_ * static_cast<std::size_t>(height - 1) + rowBytes_, kGap) {
    for (int y = 0; y < height; ++y) {
      rows_.push_back(buffer_.data() + stride_ * static_cast<std::size_t>(y));
    }
    if (bottomUp) std::reverse(rows_.begin(), rows_.end());
    const int stride = static_cast<int>(stride_);
    record = {width,    height,      bottomUp ? -stride : stride, height * stride, channels, depth,
              rows_[0], rows_.data()};
  }

  // An image of bytes with the given pixels.
  TestImage(int width, int height, int channels, const std::vector<std::uint8_t>& pixels,
            int gap = 0, bool bottomUp = false)
      : TestImage(width, height, channels, 8, gap, bottomUp) {
    setPixels(pixels);
  }

  std::vector<std::uint8_t> pixels() const {
    std::vector<std::uint8_t> out;
    for (const std::uint8_t* row : rows_) {
      out.insert(out.end(), row, row + rowBytes_);
    }
    return out;
  }

  void setPixels(const std::vector<std::uint8_t>& pixels) {
    auto from = pixels.begin();
    for (std::uint8_t* row : rows_) {
      std::copy_n(from, rowBytes_, row);
      from += static_cast<std::ptrdiff_t>(rowBytes_);
    }
  }

  // Whether nothing was written beside the pixels.
  bool isIntact() {
    std::size_t others = 0;
    for (std::size_t i = 0; i < buffer_.size(); ++i) {
      if (i % stride_ >= rowBytes_ && buffer_.data()[i] != kGap) ++others;
    }
    return others == 0 && buffer_.isIntact();
  }

  img record{};

 private:
  static constexpr std::uint8_t kGap = 0xA5;

  std::size_t rowBytes_;
  std::size_t stride_;
  GuardedBuffer buffer_;
  std::vector<std::uint8_t*> rows_;
};

} // namespace tlux::test

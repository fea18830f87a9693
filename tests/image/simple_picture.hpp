#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "support/guarded_buffer.hpp"
#include "support/random.hpp"
#include "tlux/simple_image.h"

namespace tlux::test {

// A simple image of random bytes over foreign memory that ends, behind its last sample, at a page
// that cannot be touched. The stride may be larger than a row.
class SimplePicture {
 public:
  SimplePicture(Random& random, int width, int height, int channels, int depth = 8, int extra = 0)
      : rowBytes_(width * channels * depth / 8),
        stride_(rowBytes_ + extra),
        buffer_(static_cast<std::size_t>(stride_ * (height - 1) + rowBytes_)),
        image_(createimg_pesudo(nullptr, buffer_.data(), width, height, depth, channels, stride_)) {
    random.fill(buffer_.bytes());
    before_.assign(buffer_.data(), buffer_.data() + buffer_.size());
  }
  ~SimplePicture() { release_img_pesudo(nullptr, &image_); }
  SimplePicture(const SimplePicture&) = delete;
  SimplePicture& operator=(const SimplePicture&) = delete;

  operator img*() { return image_; }
  img* operator->() { return image_; }

  // Sample `channel` of a pixel, as it is now and as it was at first.
  std::uint8_t at(int x, int y, int channel = 0) const {
    return image_->rows[y][x * image_->channels + channel];
  }
  std::uint8_t was(int x, int y, int channel = 0) const {
    return before_[static_cast<std::size_t>(y * stride_ + x * image_->channels + channel)];
  }
  // The first content as one plane.
  const std::uint8_t* before() const { return before_.data(); }
  bool isUnchanged() const { return std::equal(before_.begin(), before_.end(), image_->data); }
  // Whether nothing was written before the first sample or between the rows.
  bool isIntactAround() const {
    if (!buffer_.isIntact()) return false;
    for (int i = 0; i < static_cast<int>(before_.size()); ++i) {
      if (i % stride_ >= rowBytes_ && before_[static_cast<std::size_t>(i)] != image_->data[i]) {
        return false;
      }
    }
    return true;
  }

 private:
  int rowBytes_;
  int stride_;
  GuardedBuffer buffer_;
  img* image_;
  std::vector<std::uint8_t> before_;
};

} // namespace tlux::test

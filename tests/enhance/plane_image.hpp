#pragma once

#include <algorithm>
#include <cstdint>

#include "reference/enhance.hpp"
#include "support/guarded_buffer.hpp"
#include "support/random.hpp"
#include "tlux/image.h"

namespace tlux::test {

using reference::Bytes;

// A luma plane, and a record over it, that ends at a page which cannot be touched.
class PlaneImage {
 public:
  PlaneImage(int width, int height, int pitch)
      : buffer_(static_cast<std::size_t>(pitch * height), 0xEE) {
    image = {TLUX_FMT_GRAY, width, height, {buffer_.data()}, {pitch}};
  }
  PlaneImage(const Bytes& samples, int width, int height, int pitch)
      : PlaneImage(width, height, pitch) {
    for (int y = 0; y < height; ++y) {
      std::copy_n(samples.begin() + y * width, width, row(y));
    }
  }

  std::uint8_t* row(int y) { return buffer_.data() + y * image.pitch[0]; }
  std::span<std::uint8_t> bytes() { return buffer_.bytes(); }

  TLUX_IMAGE image{};

 private:
  GuardedBuffer buffer_;
};

// Samples around a level, so that histograms have all shapes.
inline Bytes randomSamples(int width, int height, Random& random, int low = 0, int high = 255) {
  Bytes samples(static_cast<std::size_t>(width * height));
  const int centre = random.intBetween(low, high);
  const int spread = random.intBetween(0, high - low);
  for (std::uint8_t& sample : samples) {
    const int value = centre + random.intBetween(-spread, spread) / 2;
    sample = static_cast<std::uint8_t>(std::clamp(value, low, high));
  }
  return samples;
}

} // namespace tlux::test

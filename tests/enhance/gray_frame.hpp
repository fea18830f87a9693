#pragma once

#include "reference/enhance.hpp"
#include "support/frame.hpp"

namespace tlux::test {

// A luma plane with the given samples.
inline Frame grayFrame(const Bytes& samples, int width, int height, int pitch) {
  Frame frame({width, height, pitch, 0, TLUX_FMT_GRAY});
  for (int y = 0; y < height; ++y)
    std::copy_n(samples.begin() + y * width, width, frame.row(0, y));
  return frame;
}

// Samples around a level, so that histograms have all shapes.
inline Bytes randomSamples(int width, int height, Random& random, int low = 0, int high = 255) {
  const int centre = random.intBetween(low, high);
  const int spread = random.intBetween(0, high - low);
  return mapPixels(width, height, [&](int, int) {
    const int value = centre + random.intBetween(-spread, spread) / 2;
    return static_cast<std::uint8_t>(std::clamp(value, low, high));
  });
}

} // namespace tlux::test

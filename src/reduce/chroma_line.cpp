#include <algorithm>
#include <cstdint>

#include "base/fixed_point.hpp"
#include "tlux/resample.h"

namespace tlux::detail {
namespace {

// A position along one axis, displaced by an amount that grows with it.
struct Displacement {
  std::int32_t accumulator;
  std::int32_t step; // per luma pixel
  std::int32_t shift;
  std::int32_t size; // of the source along the axis

  // Sample at `position`, in whole luma pixels.
  std::int64_t sampleAt(std::int64_t position) const {
    const std::int64_t sixteenths = 16 * position - (accumulator >> shift);
    std::int64_t sample = std::max<std::int64_t>(sixteenths >> 4, 0);
    if (sample >= std::int64_t{size} - 1)
      sample = std::max(std::int64_t{size} - 2, std::int64_t{0});
    return sample;
  }
  void advanceOnePair() { accumulator = wrappingAdd(accumulator, wrappingAdd(step, step)); }
};

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

void AMF_BlendingImage422_P_UV_Line_256_x(int32_t width, int32_t height, int32_t accumulatorX,
                                          int32_t accumulatorY, int32_t stepX, int32_t stepY,
                                          int32_t firstX, int32_t y, int32_t endX, int32_t pitch,
                                          const uint8_t* source, uint8_t* destination,
                                          int32_t shift) noexcept {
  if (source == nullptr || destination == nullptr || shift < 0 || shift > 31) return;
  Displacement alongX{accumulatorX, stepX, shift, width};
  Displacement alongY{accumulatorY, stepY, shift, height};
  for (std::int64_t x = firstX; x < endX; x += 2) {
    *destination++ = source[alongX.sampleAt(x) / 2 + pitch * alongY.sampleAt(y)];
    alongX.advanceOnePair();
    alongY.advanceOnePair();
  }
}

#include "image/simple_image.hpp"

namespace tlux::detail {
namespace {

// Rows of a borrowed block may have any alignment.
using Sample [[gnu::aligned(1), gnu::may_alias]] = std::int32_t;

bool holdsSamples(const img* image) {
  return image != nullptr &&
         holds(image, image->height, std::int64_t{image->width} * std::int64_t{sizeof(Sample)});
}

void lowBytes(std::uint8_t* __restrict bytes, const Sample* __restrict samples,
              std::int32_t width) {
  for (std::int32_t x = 0; x < width; ++x) {
    bytes[x] = static_cast<std::uint8_t>(samples[x]);
  }
}

void widen(Sample* __restrict samples, const std::uint8_t* __restrict bytes, std::int32_t width) {
  for (std::int32_t x = 0; x < width; ++x) {
    samples[x] = bytes[x];
  }
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

void int2byte(const img* image, uint8_t* bytes) noexcept {
  if (bytes == nullptr || !holdsSamples(image)) return;
  for (std::int64_t y = 0; y < image->height; ++y) {
    lowBytes(bytes + y * image->width, reinterpret_cast<Sample*>(image->rows[y]), image->width);
  }
}

void byte2int(const uint8_t* bytes, int32_t /*unused*/, img* image) noexcept {
  if (bytes == nullptr || !holdsSamples(image)) return;
  for (std::int64_t y = 0; y < image->height; ++y) {
    widen(reinterpret_cast<Sample*>(image->rows[y]), bytes + y * image->width, image->width);
  }
}

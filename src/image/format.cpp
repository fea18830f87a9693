#include "image/format.hpp"

#include <limits>

namespace tlux::detail {
namespace {

constexpr std::int64_t align4(std::int64_t bytes) {
  return (bytes + 3) & ~std::int64_t{3};
}

// Halving truncates toward zero, also for negative sizes.
constexpr std::int64_t subsample(std::int32_t size, int shift) {
  return size / (1 << shift);
}

} // namespace

std::array<PlaneSize, 3> planeSizes(const Format& format, std::int32_t width, std::int32_t height) {
  std::array<PlaneSize, 3> sizes{};
  sizes[0] = {align4(std::int64_t{format.pixelBytes} * width), height};
  if (format.planes == 1) return sizes;

  const bool interleaved = format.planes == 2;
  const std::int64_t pitch = align4(interleaved ? width : subsample(width, format.chromaShiftX));
  sizes[1] = {pitch, subsample(height, format.chromaShiftY)};
  if (!interleaved) sizes[2] = sizes[1];
  return sizes;
}

std::int64_t totalBytes(const std::array<PlaneSize, 3>& sizes) {
  std::int64_t total = 0;
  for (const PlaneSize& size : sizes) {
    std::int64_t bytes = 0;
    if (__builtin_mul_overflow(size.pitch, size.rows, &bytes) ||
        __builtin_add_overflow(total, bytes, &total)) {
      return -1;
    }
  }
  return total;
}

Result setLayout(TLUX_IMAGE& image, const Format& format, const std::array<PlaneSize, 3>& sizes,
                 std::int32_t width, std::int32_t height) {
  image.format = format.code;
  image.width = width;
  image.height = height;
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    if (sizes[i].pitch > std::numeric_limits<std::int32_t>::max()) {
      return Result::kInvalidParam;
    }
    image.pitch[i] = static_cast<std::int32_t>(sizes[i].pitch);
  }
  return Result::kOk;
}

int planeCountOf(std::uint32_t code) {
  const Format* format = findFormat(code);
  return format == nullptr ? 1 : format->planes;
}

} // namespace tlux::detail

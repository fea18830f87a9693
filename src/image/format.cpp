#include "image/format.hpp"

#include <limits>

namespace tlux {
namespace {

constexpr Format kFormats[] = {
    // code, planes, bytes per pixel of plane 0 and those copied, chroma shifts
    {TLUX_FMT_BGR24, 1, 3, 3, 0, 0},         {TLUX_FMT_BGR32, 1, 4, 3, 0, 0},
    {TLUX_FMT_BGR24_B, 1, 3, 3, 0, 0},       {TLUX_FMT_BGR32_B, 1, 4, 3, 0, 0},
    {TLUX_FMT_PACKED24_1, 1, 3, 3, 0, 0},    {TLUX_FMT_PACKED24_2, 1, 3, 3, 0, 0},
    {TLUX_FMT_PACKED24_3, 1, 3, 3, 0, 0},    {TLUX_FMT_PACKED24_4, 1, 3, 3, 0, 0},
    {TLUX_FMT_YCBYCR, 1, 2, 2, 1, 0},        {TLUX_FMT_YCBYCR_2, 1, 2, 2, 1, 0},
    {TLUX_FMT_CBYCRY, 1, 2, 2, 1, 0},        {TLUX_FMT_YCBYCR_4, 1, 2, 2, 1, 0},
    {TLUX_FMT_YCBYCR_5, 1, 2, 2, 1, 0},      {TLUX_FMT_YCBYCR_6, 1, 2, 2, 1, 0},
    {TLUX_FMT_YCBYCR_7, 1, 2, 2, 1, 0},      {TLUX_FMT_YCBYCR_8, 1, 2, 2, 1, 0},
    {TLUX_FMT_YCBCR420_P, 3, 1, 1, 1, 1},    {TLUX_FMT_YCBCR440_P, 3, 1, 1, 0, 1},
    {TLUX_FMT_YCBCR422_P, 3, 1, 1, 1, 0},    {TLUX_FMT_YCBCR444_P, 3, 1, 1, 0, 0},
    {TLUX_FMT_YCBCR420_P_B, 3, 1, 1, 1, 1},  {TLUX_FMT_YCBCR440_P_B, 3, 1, 1, 0, 1},
    {TLUX_FMT_YCBCR422_P_B, 3, 1, 1, 1, 0},  {TLUX_FMT_YCBCR444_P_B, 3, 1, 1, 0, 0},
    {TLUX_FMT_GRAY, 1, 1, 1, 0, 0},          {TLUX_FMT_YCBCR420_YPUV, 2, 1, 1, 1, 1},
    {TLUX_FMT_YCBCR420_YPVU, 2, 1, 1, 1, 1}, {TLUX_FMT_YCBCR422_YPUV, 2, 1, 1, 1, 0},
    {TLUX_FMT_BAYER, 1, 2, 0, 0, 0},
};

constexpr std::int64_t align4(std::int64_t bytes) {
  return (bytes + 3) & ~std::int64_t{3};
}

// Halving truncates toward zero, also for negative sizes.
constexpr std::int64_t subsample(std::int32_t size, int shift) {
  return size / (1 << shift);
}

} // namespace

const Format* findFormat(std::uint32_t code) {
  for (const Format& format : kFormats) {
    if (format.code == code) return &format;
  }
  return nullptr;
}

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

bool setLayout(TLUX_IMAGE& image, const Format& format, const std::array<PlaneSize, 3>& sizes,
               std::int32_t width, std::int32_t height) {
  image.format = format.code;
  image.width = width;
  image.height = height;
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    if (sizes[i].pitch > std::numeric_limits<std::int32_t>::max()) return false;
    image.pitch[i] = static_cast<std::int32_t>(sizes[i].pitch);
  }
  return true;
}

int planeCountOf(std::uint32_t code) {
  const Format* format = findFormat(code);
  return format == nullptr ? 1 : format->planes;
}

} // namespace tlux

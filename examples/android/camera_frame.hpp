// Converts the planes of an Android camera frame (YUV_420_888) to a picture for tlux.
#ifndef CAMERA_FRAME_HPP
#define CAMERA_FRAME_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <tlux.hpp>

namespace camera {

// One plane of android.media.Image. The buffer may end with the last sample of the last row.
struct Plane {
  std::span<std::uint8_t> bytes;
  std::int32_t rowStride;
  std::int32_t pixelStride;
};

struct Frame {
  std::int32_t width;
  std::int32_t height;
  Plane y, u, v;
};

// Whether the buffer contains every sample of a plane of columns × rows.
inline bool holds(const Plane& plane, std::int32_t columns, std::int32_t rows) {
  if (plane.pixelStride < 1 || plane.rowStride < std::int64_t{columns - 1} * plane.pixelStride + 1)
    return false;
  const std::int64_t last =
      (rows - std::int64_t{1}) * plane.rowStride + (columns - std::int64_t{1}) * plane.pixelStride;
  return last < static_cast<std::int64_t>(plane.bytes.size());
}

inline bool isWhole(const Frame& frame) {
  return frame.width > 0 && frame.height > 0 && frame.width % 2 == 0 && frame.height % 2 == 0 &&
         frame.y.pixelStride == 1 && holds(frame.y, frame.width, frame.height) &&
         holds(frame.u, frame.width / 2, frame.height / 2) &&
         holds(frame.v, frame.width / 2, frame.height / 2);
}

// Most cameras interleave chroma: the two buffers overlap, one byte apart. Then nothing is copied.
inline std::optional<TLUX_IMAGE> viewInterleaved(const Frame& frame) {
  const Plane &u = frame.u, &v = frame.v;
  if (u.pixelStride != 2 || v.pixelStride != 2 || u.rowStride != v.rowStride) return std::nullopt;
  const bool isNv21 = v.bytes.data() + 1 == u.bytes.data();
  const bool isNv12 = u.bytes.data() + 1 == v.bytes.data();
  if (!isNv21 && !isNv12) return std::nullopt;
  const std::span<std::uint8_t> first = isNv21 ? v.bytes : u.bytes;
  const std::span<std::uint8_t> second = isNv21 ? u.bytes : v.bytes;
  return tlux::frameOver(isNv21 ? TLUX_FMT_YCBCR420_YPVU : TLUX_FMT_YCBCR420_YPUV, frame.width,
                         frame.height, {frame.y.bytes, frame.y.rowStride},
                         {{first.data(), second.size() + 1}, u.rowStride});
}

// Any other layout is copied into an NV21 picture of the frame's size.
inline void gather(const Frame& frame, tlux::Image& nv21) {
  for (std::int32_t row = 0; row < frame.height; ++row) {
    const std::uint8_t* luma = &frame.y.bytes[std::size_t(row) * frame.y.rowStride];
    std::copy_n(luma, frame.width, nv21.row(0, row).data());
  }
  for (std::int32_t row = 0; row < frame.height / 2; ++row) {
    const std::uint8_t* u = &frame.u.bytes[std::size_t(row) * frame.u.rowStride];
    const std::uint8_t* v = &frame.v.bytes[std::size_t(row) * frame.v.rowStride];
    std::uint8_t* pairs = nv21.row(1, row).data();
    for (std::int32_t x = 0; x < frame.width / 2; ++x) {
      pairs[2 * x] = v[x * frame.v.pixelStride];
      pairs[2 * x + 1] = u[x * frame.u.pixelStride];
    }
  }
}

} // namespace camera

#endif // CAMERA_FRAME_HPP

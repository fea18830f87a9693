#pragma once

#include <algorithm>

#include "reference/image_copy.hpp"
#include "support/frame.hpp"
#include "support/random.hpp"

namespace tlux::test {

using reference::Picture;
using reference::PictureCopy;

// Formats that can be copied.
inline const std::uint32_t kCopied[] = {
    TLUX_FMT_BGR24,         TLUX_FMT_BGR32,         TLUX_FMT_BGR24_B,      TLUX_FMT_BGR32_B,
    TLUX_FMT_PACKED24_1,    TLUX_FMT_PACKED24_2,    TLUX_FMT_PACKED24_3,   TLUX_FMT_PACKED24_4,
    TLUX_FMT_YCBYCR,        TLUX_FMT_YCBYCR_2,      TLUX_FMT_CBYCRY,       TLUX_FMT_YCBYCR_4,
    TLUX_FMT_YCBYCR_5,      TLUX_FMT_YCBYCR_8,      TLUX_FMT_YCBCR420_P,   TLUX_FMT_YCBCR440_P,
    TLUX_FMT_YCBCR422_P,    TLUX_FMT_YCBCR444_P,    TLUX_FMT_YCBCR420_P_B, TLUX_FMT_YCBCR440_P_B,
    TLUX_FMT_YCBCR422_P_B,  TLUX_FMT_YCBCR444_P_B,  TLUX_FMT_GRAY,         TLUX_FMT_YCBCR420_YPUV,
    TLUX_FMT_YCBCR420_YPVU, TLUX_FMT_YCBCR422_YPUV,
};

inline Picture randomPicture(Random& random, std::uint32_t format, int width, int height,
                             int maxExtra, int minExtra = 0) {
  Picture picture{format, width, height, {}};
  int plane = 0;
  for (const PlaneExtent& extent : extentsOf(format, width, height)) {
    const int pitch = extent.bytes + random.intBetween(minExtra, maxExtra);
    picture.planes[plane++] = {random.values<std::uint8_t>(pitch * extent.rows), pitch};
  }
  return picture;
}

inline Frame frameOf(const Picture& picture) {
  Frame frame(picture.format, picture.width, picture.height, Frame::NoPlanes());
  for (const auto& [bytes, pitch] : picture.planes) {
    if (pitch == 0) break;
    frame.addPlane(pitch, bytes.size());
    std::ranges::copy(bytes, frame.plane(frame.planeCount() - 1).data());
  }
  return frame;
}

// Random bytes in planes that end with their last sample.
inline Frame randomFrame(Random& random, std::uint32_t format, int width, int height,
                         int maxExtra) {
  Frame frame(format, width, height, Frame::NoPlanes());
  for (const PlaneExtent& extent : extentsOf(format, width, height)) {
    const int extra = random.intBetween(0, maxExtra);
    frame.addPlane(extent.bytes + extra, extent.rows, extra);
    random.noise(frame.plane(frame.planeCount() - 1).bytes());
  }
  return frame;
}

// Whether the picture's rows, described by `extents`, equal those of the image.
inline bool hasRowsOf(const TLUX_IMAGE& image, const Picture& picture,
                      const std::vector<PlaneExtent>& extents) {
  for (std::size_t i = 0; i < extents.size(); ++i) {
    for (int y = 0; y < extents[i].rows; ++y) {
      const std::ptrdiff_t start = std::ptrdiff_t{y} * image.pitch[i];
      if (!std::equal(image.plane[i] + start, image.plane[i] + start + extents[i].bytes,
                      picture.planes[i].bytes.begin() + start)) {
        return false;
      }
    }
  }
  return true;
}

inline TLUX_RECT randomRect(Random& random, const Picture& picture, int width, int height) {
  const int left = random.intBetween(0, picture.width - width);
  const int top = random.intBetween(0, picture.height - height);
  return {left, top, left + width, top + height};
}

// Whether the copy reads Cb half a row low, which may leave a plane of odd height.
inline bool readsCbHalfARowLow(std::uint32_t format, const TLUX_RECT& from) {
  return (format & ~4u) == TLUX_FMT_YCBCR420_P && from.top % 2 != 0;
}

} // namespace tlux::test

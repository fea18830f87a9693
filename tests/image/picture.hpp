#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include "reference/image_copy.hpp"
#include "support/guarded_buffer.hpp"
#include "support/random.hpp"

namespace tlux::test {

using reference::Picture;
using reference::PictureCopy;

// Formats that can be copied.
inline const std::uint32_t kCopied[] = {
    TLUX_FMT_BGR24,        TLUX_FMT_BGR32,         TLUX_FMT_BGR24_B,       TLUX_FMT_BGR32_B,
    TLUX_FMT_PACKED24_1,   TLUX_FMT_PACKED24_4,    TLUX_FMT_YCBYCR,        TLUX_FMT_YCBYCR_2,
    TLUX_FMT_CBYCRY,       TLUX_FMT_YCBYCR_4,      TLUX_FMT_YCBYCR_5,      TLUX_FMT_YCBYCR_8,
    TLUX_FMT_YCBCR420_P,   TLUX_FMT_YCBCR440_P,    TLUX_FMT_YCBCR422_P,    TLUX_FMT_YCBCR444_P,
    TLUX_FMT_YCBCR420_P_B, TLUX_FMT_YCBCR440_P_B,  TLUX_FMT_YCBCR422_P_B,  TLUX_FMT_YCBCR444_P_B,
    TLUX_FMT_GRAY,         TLUX_FMT_YCBCR420_YPUV, TLUX_FMT_YCBCR420_YPVU, TLUX_FMT_YCBCR422_YPUV,
};

// Bytes a row and rows of each plane, as far as samples go.
struct PlaneExtent {
  int bytes;
  int rows;
};

inline std::vector<PlaneExtent> extentsOf(std::uint32_t format, int w, int h) {
  switch (format & ~4u) {
    case TLUX_FMT_YCBCR420_P:
      return {{w, h}, {w / 2, h / 2}, {w / 2, h / 2}};
    case TLUX_FMT_YCBCR440_P:
      return {{w, h}, {w, h / 2}, {w, h / 2}};
    case TLUX_FMT_YCBCR422_P:
      return {{w, h}, {w / 2, h}, {w / 2, h}};
    default:
      break;
  }
  switch (format) {
    case TLUX_FMT_YCBCR444_P:
    case TLUX_FMT_YCBCR444_P_B:
      return {{w, h}, {w, h}, {w, h}};
    case TLUX_FMT_YCBCR420_YPUV:
    case TLUX_FMT_YCBCR420_YPVU:
      return {{w, h}, {w, h / 2}};
    case TLUX_FMT_YCBCR422_YPUV:
      return {{w, h}, {w, h}};
    case TLUX_FMT_BGR32:
    case TLUX_FMT_BGR32_B:
      return {{4 * w, h}};
    default:
      break;
  }
  switch (format >> 8) {
    case 3:
    case 4:
      return {{3 * w, h}};
    case 5:
    case 0xA:
      return {{2 * w, h}};
    default:
      return {{w, h}};
  }
}

inline Picture randomPicture(Random& random, std::uint32_t format, int width, int height,
                             int maxExtra) {
  Picture picture{format, width, height, {}};
  int plane = 0;
  for (const PlaneExtent& extent : extentsOf(format, width, height)) {
    auto& p = picture.planes[plane++];
    p.pitch = extent.bytes + random.intBetween(0, maxExtra);
    p.bytes.resize(static_cast<std::size_t>(p.pitch * extent.rows));
    random.fill(std::span(p.bytes));
  }
  return picture;
}

// The picture in memory that ends at a page that cannot be touched.
class Frame {
 public:
  explicit Frame(const Picture& picture) {
    image_.format = picture.format;
    image_.width = picture.width;
    image_.height = picture.height;
    for (int i = 0; i < 3; ++i) {
      const auto& p = picture.planes[i];
      if (p.pitch == 0) continue;
      buffers_[i] = std::make_unique<GuardedBuffer>(p.bytes.size());
      std::copy(p.bytes.begin(), p.bytes.end(), buffers_[i]->data());
      image_.plane[i] = buffers_[i]->data();
      image_.pitch[i] = p.pitch;
    }
  }

  TLUX_IMAGE* get() { return &image_; }
  TLUX_IMAGE* operator->() { return &image_; }

  bool holds(const Picture& picture) {
    for (int i = 0; i < 3; ++i) {
      const auto& p = picture.planes[i];
      if (p.pitch == 0) continue;
      if (!buffers_[i]->isIntact()) return false;
      if (!std::equal(p.bytes.begin(), p.bytes.end(), buffers_[i]->data())) return false;
    }
    return true;
  }

 private:
  TLUX_IMAGE image_{};
  std::unique_ptr<GuardedBuffer> buffers_[3];
};

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

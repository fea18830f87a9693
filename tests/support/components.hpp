#pragma once

#include <algorithm>
#include <vector>

#include "image/picture.hpp"
#include "reference/resize.hpp"

namespace tlux::test {

// A channel of a frame.
struct FrameChannel {
  int plane;
  int offset;  // bytes
  int step;    // bytes from one sample to the next
  int samples; // in a row, including the one after the last pair of a packed row
  int width;   // samples in a row that count
  int height;
  int shiftX;
  int shiftY;

  // In the form that the plain formulas use.
  reference::Channel of(Frame& frame) const {
    return {frame->plane[plane] + offset, width, height, frame->pitch[plane], step};
  }
  std::uint8_t& at(Frame& frame, int x, int y) const {
    return frame.row(plane, y)[offset + x * step];
  }
  Bytes in(Frame& frame) const {
    return mapPixels(width, height, [&](int x, int y) { return at(frame, x, y); });
  }
  void set(Frame& frame, const Bytes& values) const {
    forEachPixel(width, height, [&](int x, int y) { at(frame, x, y) = values[y * width + x]; });
  }
};

inline std::vector<FrameChannel> channelsOf(std::uint32_t format, int w, int h) {
  const int family = static_cast<int>(format >> 8);
  const int code = static_cast<int>(format & ~4u);
  if (family == 3 || family == 4) {
    const int bytes = format == TLUX_FMT_BGR32 || format == TLUX_FMT_BGR32_B ? 4 : 3;
    std::vector<FrameChannel> channels;
    for (int i = 0; i < bytes; ++i) {
      channels.push_back({0, i, bytes, w, w, h, 0, 0});
    }
    return channels;
  }
  if (family == 5) {
    const int luma = format == TLUX_FMT_CBYCRY || format == TLUX_FMT_YCBYCR_4 ? 1 : 0;
    return {{0, luma, 2, w, w, h, 0, 0},
            {0, 1 - luma, 4, (w + 1) / 2, w / 2, h, 1, 0},
            {0, 3 - luma, 4, w / 2, w / 2, h, 1, 0}};
  }
  std::vector<FrameChannel> channels = {{0, 0, 1, w, w, h, 0, 0}};
  if (family == 7) return channels;
  const int shiftX = family == 8 || (code & 1) != 0 ? 1 : 0;
  const bool hasAllRows = format == TLUX_FMT_YCBCR422_YPUV || code == TLUX_FMT_YCBCR422_P ||
                          format == TLUX_FMT_YCBCR444_P || format == TLUX_FMT_YCBCR444_P_B;
  const int shiftY = hasAllRows ? 0 : 1;
  for (int i = 0; i < 2; ++i) {
    const int cw = w >> shiftX;
    const int ch = h >> shiftY;
    if (family == 8) {
      channels.push_back({1, i, 2, cw, cw, ch, shiftX, shiftY});
    } else {
      channels.push_back({1 + i, 0, 1, cw, cw, ch, shiftX, shiftY});
    }
  }
  return channels;
}

// The expected target of an operation: sample(source channel, target channel, x, y) for each, or
// neutral chroma if the source has none.
template <class Sample>
Frame mapped(Frame& source, const Frame& before, Sample sample) {
  Frame target = before.copy();
  const auto from = channelsOf(source->format, source->width, source->height);
  const auto to = channelsOf(target->format, target->width, target->height);
  for (std::size_t c = 0; c < to.size(); ++c) {
    const bool isThere = from[c].width > 0 && from[c].height > 0;
    forEachPixel(to[c].samples, to[c].height, [&](int x, int y) {
      to[c].at(target, x, y) =
          static_cast<std::uint8_t>(isThere ? sample(from[c].of(source), to[c], x, y) : 128);
    });
  }
  return target;
}

} // namespace tlux::test

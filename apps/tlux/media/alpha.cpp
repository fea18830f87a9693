#include "media/alpha.hpp"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <algorithm>

#include "media/convert.hpp"

namespace tlux::app {

namespace {

constexpr int kRgbaBytes = 4;
constexpr int kRgbaAlpha = 3;

const AVPixFmtDescriptor& layoutOf(const AVFrame& frame) {
  return *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
}

uint8_t* row(const AVFrame& frame, int y, int plane = 0) {
  return frame.data[plane] + ptrdiff_t{y} * frame.linesize[plane];
}

bool isOpaque(const AVFrame& alpha) {
  for (int y = 0; y < alpha.height; ++y) {
    const uint8_t* values = row(alpha, y);
    if (!std::all_of(values, values + alpha.width, [](uint8_t a) { return a == 255; })) {
      return false;
    }
  }
  return true;
}

} // namespace

FramePtr extractAlpha(const AVFrame& picture) {
  if ((layoutOf(picture).flags & AV_PIX_FMT_FLAG_ALPHA) == 0) return nullptr;
  const FramePtr rgba = convertTo(picture, AV_PIX_FMT_RGBA, {});
  FramePtr alpha = makeFrame(AV_PIX_FMT_GRAY8, picture.width, picture.height);
  for (int y = 0; y < picture.height; ++y) {
    const uint8_t* from = row(*rgba, y);
    uint8_t* to = row(*alpha, y);
    for (int x = 0; x < picture.width; ++x) {
      to[x] = from[kRgbaBytes * x + kRgbaAlpha];
    }
  }
  return isOpaque(*alpha) ? nullptr : std::move(alpha);
}

void insertAlpha(const AVFrame& alpha, AVFrame& picture) {
  const AVComponentDescriptor& place = layoutOf(picture).comp[3];
  for (int y = 0; y < picture.height; ++y) {
    const uint8_t* from = row(alpha, y);
    uint8_t* to = row(picture, y, place.plane) + place.offset;
    for (int x = 0; x < picture.width; ++x) {
      to[x * place.step] = from[x];
    }
  }
}

} // namespace tlux::app

#include "media/packed_rgb.hpp"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <cstring>

#include "media/convert.hpp"
#include "tlux/rgb.h"

namespace tlux::app {

namespace {

/** value / 257 rounded; exact for every 16-bit value. */
uint8_t toEightBits(uint32_t value) {
  return static_cast<uint8_t>((value * 255 + 32895) >> 16);
}

FramePtr reduceDepth(const AVFrame& picture) {
  const FramePtr deep = convertTo(picture, AV_PIX_FMT_RGB48, {});
  FramePtr reduced = makeFrame(AV_PIX_FMT_RGB24, picture.width, picture.height);
  for (int y = 0; y < picture.height; ++y) {
    const uint8_t* from = deep->data[0] + ptrdiff_t{y} * deep->linesize[0];
    uint8_t* to = reduced->data[0] + ptrdiff_t{y} * reduced->linesize[0];
    for (ptrdiff_t sample = 0; sample < ptrdiff_t{3} * picture.width; ++sample) {
      uint16_t value = 0;
      std::memcpy(&value, from + 2 * sample, sizeof value);
      to[sample] = toEightBits(value);
    }
  }
  return reduced;
}

} // namespace

std::optional<uint32_t> packedRgbLayoutOf(int format) {
  switch (format) {
    case AV_PIX_FMT_RGB24:
      return TLUX_RGB;
    case AV_PIX_FMT_RGBA:
    case AV_PIX_FMT_RGB0:
      return TLUX_RGBA;
    case AV_PIX_FMT_BGR24:
      return TLUX_BGR;
    case AV_PIX_FMT_BGRA:
    case AV_PIX_FMT_BGR0:
      return TLUX_BGRA;
    default:
      return std::nullopt;
  }
}

FramePtr packRgb(const AVFrame& picture) {
  const AVPixFmtDescriptor* layout =
      av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
  const bool isRgb =
      layout != nullptr && (layout->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0;
  if (!isRgb || packedRgbLayoutOf(picture.format).has_value()) return nullptr;
  return layout->comp[0].depth > 8 ? reduceDepth(picture)
                                   : convertTo(picture, AV_PIX_FMT_RGB24, {});
}

} // namespace tlux::app

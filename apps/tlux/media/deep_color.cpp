#include "media/deep_color.hpp"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <cstring>

#include "media/convert.hpp"

namespace tlux::app {

namespace {

bool isDeepRgb(const AVFrame& picture) {
  const AVPixFmtDescriptor* layout =
      av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
  return layout != nullptr && (layout->flags & AV_PIX_FMT_FLAG_RGB) != 0 &&
         layout->comp[0].depth > 8;
}

/** value / 257 rounded; exact for every 16-bit value. */
uint8_t toEightBits(uint32_t value) {
  return static_cast<uint8_t>((value * 255 + 32895) >> 16);
}

} // namespace

FramePtr reduceDeepColor(const AVFrame& picture) {
  if (!isDeepRgb(picture)) return nullptr;
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

} // namespace tlux::app

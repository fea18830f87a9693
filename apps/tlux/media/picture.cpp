#include "media/picture.hpp"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <fmt/format.h>

#include <cstring>
#include <utility>

#include "media/alpha.hpp"
#include "media/color_profile.hpp"
#include "media/convert.hpp"
#include "media/display_color.hpp"
#include "media/orientation.hpp"
#include "media/packed_rgb.hpp"
#include "media/semi_planar.hpp"

namespace tlux::app {

namespace {

constexpr int kNeutralChroma = 128;

/** Repeats the last luma column and row of odd sizes; the chroma sample already exists. */
void padToEven(AVFrame& frame, int width, int height) {
  const ptrdiff_t pitch = frame.linesize[0];
  if (frame.width > width) {
    for (int y = 0; y < height; ++y) {
      uint8_t* end = frame.data[0] + y * pitch + width;
      *end = end[-1];
    }
  }
  if (frame.height > height) {
    uint8_t* end = frame.data[0] + height * pitch;
    std::memcpy(end, end - pitch, static_cast<size_t>(frame.width));
  }
  frame.crop_right = static_cast<size_t>(frame.width - width);
  frame.crop_bottom = static_cast<size_t>(frame.height - height);
}

FramePtr toSemiPlanar(const AVFrame& decoded) {
  const int width = FFALIGN(decoded.width, 2);
  const int height = FFALIGN(decoded.height, 2);
  FramePtr frame = makeSemiPlanar(AV_PIX_FMT_NV12, width, height, FFALIGN(width, 64));
  frame->chroma_location = decoded.chroma_location;
  frame->color_primaries = decoded.color_primaries;
  frame->color_trc = decoded.color_trc;
  // The converter does not write the chroma of gray pictures.
  std::memset(frame->data[1], kNeutralChroma,
              static_cast<size_t>(frame->linesize[1]) * static_cast<size_t>(height / 2));
  const FramePtr shown = toDisplayColor(decoded);
  const AVFrame& colors = shown == nullptr ? decoded : *shown;
  const FramePtr packed = packRgb(colors);
  const AVFrame& source = packed == nullptr ? colors : *packed;
  convert(source, *frame, {AVCOL_RANGE_JPEG, colorEncodingOf(source).matrix});
  padToEven(*frame, decoded.width, decoded.height);
  copyColorProfile(decoded, *frame);
  return frame;
}

/** One remark, or none. */
std::vector<std::string> describeDepth(const AVFrame& decoded) {
  const int bits = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(decoded.format))->comp[0].depth;
  if (bits <= 8) return {};
  return {fmt::format("its {} bits per sample are reduced to 8", bits)};
}

} // namespace

int Picture::width() const {
  return frame->width - static_cast<int>(frame->crop_left + frame->crop_right);
}

int Picture::height() const {
  return frame->height - static_cast<int>(frame->crop_top + frame->crop_bottom);
}

Picture toPicture(const AVFrame& decoded) {
  const Orientation orientation = orientationOf(decoded);
  Picture picture;
  picture.storedWidth = decoded.width;
  picture.storedHeight = decoded.height;
  picture.remarks = describeDepth(decoded);
  picture.frame = turn(toSemiPlanar(decoded), orientation);
  FramePtr alpha = extractAlpha(decoded);
  if (alpha != nullptr) picture.alpha = turn(std::move(alpha), orientation);
  return picture;
}

} // namespace tlux::app

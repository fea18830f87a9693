#include "media/rgb_copy.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "media/color_profile.hpp"
#include "media/convert.hpp"

namespace tlux::app {

FramePtr toRgb(const AVFrame& frame) {
  const FramePtr whole = convertTo(frame, AV_PIX_FMT_RGB24, {});
  whole->crop_left = frame.crop_left;
  whole->crop_top = frame.crop_top;
  whole->crop_right = frame.crop_right;
  whole->crop_bottom = frame.crop_bottom;
  check(av_frame_apply_cropping(whole.get(), AV_FRAME_CROP_UNALIGNED));
  FramePtr rgb = makeFrame(AV_PIX_FMT_RGB24, whole->width, whole->height);
  check(av_frame_copy(rgb.get(), whole.get()));
  copyColorProfile(frame, *rgb);
  return rgb;
}

int heightAtWidth(const AVFrame& picture, int width) {
  const double height = double{1} * picture.height * width / picture.width;
  return std::max(1, static_cast<int>(std::lround(height)));
}

FramePtr shrinkToWidth(FramePtr rgb, int width) {
  if (rgb->width <= width) return rgb;
  FramePtr small = makeFrame(AV_PIX_FMT_RGB24, width, heightAtWidth(*rgb, width));
  const ScalerPtr scaler(checkAllocated(sws_getContext(
      rgb->width, rgb->height, AV_PIX_FMT_RGB24, small->width, small->height, AV_PIX_FMT_RGB24,
      SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP | SWS_FULL_CHR_H_INT | SWS_BITEXACT,
      nullptr, nullptr, nullptr)));
  check(sws_scale(scaler.get(), rgb->data, rgb->linesize, 0, rgb->height, small->data,
                  small->linesize));
  copyColorProfile(*rgb, *small);
  return small;
}

} // namespace tlux::app

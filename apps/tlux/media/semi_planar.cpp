#include "media/semi_planar.hpp"

namespace tlux::app {

int64_t semiPlanarBytes(int height, int pitch) {
  return int64_t{pitch} * height + int64_t{pitch} * (height / 2);
}

FramePtr makeSemiPlanar(AVPixelFormat format, int width, int height, int pitch) {
  FramePtr frame = makeFrame();
  frame->format = format;
  frame->width = width;
  frame->height = height;
  frame->color_range = AVCOL_RANGE_JPEG;
  // The converter's vector code may read a few bytes past the last pixel.
  const auto bytes = static_cast<size_t>(semiPlanarBytes(height, pitch)) + 64;
  frame->buf[0] = checkAllocated(av_buffer_allocz(bytes));
  frame->data[0] = frame->buf[0]->data;
  frame->data[1] = frame->data[0] + int64_t{pitch} * height;
  frame->linesize[0] = frame->linesize[1] = pitch;
  return frame;
}

FramePtr makeSemiPlanarLike(const AVFrame& model) {
  FramePtr frame = makeSemiPlanar(static_cast<AVPixelFormat>(model.format), model.width,
                                  model.height, model.linesize[0]);
  check(av_frame_copy_props(frame.get(), &model));
  return frame;
}

TLUX_IMAGE imageOf(const AVFrame& frame) {
  TLUX_IMAGE image = {};
  image.format = frame.format == AV_PIX_FMT_NV21 ? TLUX_FMT_YCBCR420_YPVU : TLUX_FMT_YCBCR420_YPUV;
  image.width = frame.width;
  image.height = frame.height;
  for (int plane = 0; plane < 2; ++plane) {
    image.plane[plane] = frame.data[plane];
    image.pitch[plane] = frame.linesize[plane];
  }
  return image;
}

} // namespace tlux::app

#include "video/frame_export.hpp"

#include "video/frame_import.hpp"
#include "video/sample_rows.hpp"

namespace tlux::app {

namespace {

bool isPlanar(AVPixelFormat layout) {
  return layout == AV_PIX_FMT_YUV420P || layout == AV_PIX_FMT_YUVJ420P;
}

uint8_t* row(const AVFrame& frame, int plane, int y) {
  return frame.data[plane] + ptrdiff_t{y} * frame.linesize[plane];
}

template <typename Range>
void copyChromaRow(const AVFrame& frame, const uint8_t* from, AVFrame& target, int y, int pairs) {
  const bool crFirst = frame.format == AV_PIX_FMT_NV21;
  if (isPlanar(static_cast<AVPixelFormat>(target.format))) {
    splitChroma<Range>(from, row(target, crFirst ? 2 : 1, y), row(target, crFirst ? 1 : 2, y),
                       pairs);
  } else if (crFirst) {
    exchangeChroma<Range>(from, row(target, 1, y), pairs);
  } else {
    convertChroma<Range>(from, row(target, 1, y), pairs);
  }
}

template <typename Range>
void copyContent(const AVFrame& frame, AVFrame& target, int width, int height) {
  const auto left = static_cast<ptrdiff_t>(frame.crop_left);
  const int top = static_cast<int>(frame.crop_top);
  for (int y = 0; y < height; ++y) {
    convertLuma<Range>(row(frame, 0, top + y) + left, row(target, 0, y), width);
  }
  for (int y = 0; y < (height + 1) / 2; ++y) {
    copyChromaRow<Range>(frame, row(frame, 1, top / 2 + y) + left, target, y, (width + 1) / 2);
  }
}

void cropLike(AVFrame& frame, const AVFrame& model) {
  frame.crop_left = model.crop_left;
  frame.crop_top = model.crop_top;
  frame.crop_right = model.crop_right;
  frame.crop_bottom = model.crop_bottom;
  check(av_frame_apply_cropping(&frame, AV_FRAME_CROP_UNALIGNED));
}

} // namespace

FrameExporter::FrameExporter(AVPixelFormat layout, int width, int height, AVColorRange range)
    : layout_(layout), width_(width), height_(height), range_(range), targets_([=] {
        return makeFrame(layout, width, height);
      }) {}

FramePtr FrameExporter::exportFrame(FramePtr frame) {
  if (fitsAlready(*frame)) return frame;
  FramePtr target = targets_.take();
  const AVColorSpace matrix = frame->colorspace;
  if (canCopyRows(*frame)) {
    copyRows(*frame, *target);
  } else {
    copyByConverter(*frame, *target);
  }
  check(av_frame_copy_props(target.get(), frame.get()));
  target->crop_left = target->crop_top = target->crop_right = target->crop_bottom = 0;
  target->color_range = range_;
  target->colorspace = isRgbLayout(layout_) ? AVCOL_SPC_RGB : matrix;
  return target;
}

bool FrameExporter::fitsAlready(const AVFrame& frame) const {
  return frame.format == layout_ && frame.width == width_ && frame.height == height_ &&
         frame.color_range == range_;
}

bool FrameExporter::canCopyRows(const AVFrame& frame) const {
  const bool keepsChromaSites = ((frame.crop_left | frame.crop_top) & 1) == 0;
  return keepsChromaSites && (isPlanar(layout_) || layout_ == AV_PIX_FMT_NV12);
}

void FrameExporter::copyRows(const AVFrame& frame, AVFrame& target) const {
  if (frame.color_range == range_) {
    copyContent<Unchanged>(frame, target, width_, height_);
  } else if (range_ == AVCOL_RANGE_JPEG) {
    copyContent<ToFullRange>(frame, target, width_, height_);
  } else {
    copyContent<ToLimitedRange>(frame, target, width_, height_);
  }
}

void FrameExporter::copyByConverter(const AVFrame& frame, AVFrame& target) {
  if (intermediate_ == nullptr || av_frame_is_writable(intermediate_.get()) == 0) {
    intermediate_ = makeFrame(layout_, frame.width, frame.height);
  }
  intermediate_->chroma_location = frame.chroma_location;
  const FramePtr source(checkAllocated(av_frame_clone(&frame)));
  // The matrix matters only for conversions to RGB.
  source->colorspace = isRgbLayout(layout_) ? colorEncodingOf(frame).matrix : AVCOL_SPC_BT470BG;
  converter_.convert(*source, *intermediate_, {range_, source->colorspace});
  const FramePtr content(checkAllocated(av_frame_clone(intermediate_.get())));
  cropLike(*content, frame);
  check(av_frame_copy(&target, content.get()));
}

} // namespace tlux::app

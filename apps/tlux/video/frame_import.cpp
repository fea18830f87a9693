#include "video/frame_import.hpp"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <fmt/format.h>

#include <cstring>
#include <utility>

#include "media/packed_rgb.hpp"
#include "media/semi_planar.hpp"
#include "video/sample_rows.hpp"

namespace tlux::app {

namespace {

constexpr int kNeutralChroma = 128;

bool isPlanar(const AVFrame& frame) {
  return frame.format == AV_PIX_FMT_YUV420P || frame.format == AV_PIX_FMT_YUVJ420P;
}

bool hasFamiliarLayout(const AVFrame& frame) {
  return isPlanar(frame) || frame.format == AV_PIX_FMT_NV12;
}

uint8_t* row(const AVFrame& frame, int plane, int y) {
  return frame.data[plane] + ptrdiff_t{y} * frame.linesize[plane];
}

template <typename Range>
void copyInto(const AVFrame& decoded, AVFrame& target) {
  for (int y = 0; y < decoded.height; ++y) {
    convertLuma<Range>(row(decoded, 0, y), row(target, 0, y), decoded.width);
  }
  const int pairs = (decoded.width + 1) / 2;
  for (int y = 0; y < (decoded.height + 1) / 2; ++y) {
    uint8_t* to = row(target, 1, y);
    if (isPlanar(decoded)) {
      joinChroma<Range>(row(decoded, 1, y), row(decoded, 2, y), to, pairs);
    } else {
      convertChroma<Range>(row(decoded, 1, y), to, pairs);
    }
  }
}

/** Repeats the last luma column and row of odd sizes; the chroma sample already exists. */
void fillMargins(AVFrame& frame) {
  const int width = frame.width;
  if (frame.crop_right > 0) {
    for (int y = 0; y < frame.height; ++y) {
      uint8_t* samples = row(frame, 0, y);
      samples[width - 1] = samples[width - 2];
    }
  }
  if (frame.crop_bottom > 0) {
    std::memcpy(row(frame, 0, frame.height - 1), row(frame, 0, frame.height - 2),
                static_cast<size_t>(width));
  }
}

/** Copies properties except the range and margins, which belong to the library's layout. */
void copyProperties(const AVFrame& decoded, AVFrame& frame) {
  const FramePtr layout(checkAllocated(av_frame_clone(&frame)));
  check(av_frame_copy_props(&frame, &decoded));
  frame.color_range = layout->color_range;
  frame.crop_left = 0;
  frame.crop_top = 0;
  frame.crop_right = layout->crop_right;
  frame.crop_bottom = layout->crop_bottom;
}

} // namespace

bool isRgbLayout(int format) {
  const AVPixFmtDescriptor* layout = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
  return layout != nullptr && (layout->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0;
}

FrameImporter::FrameImporter(const AVFrame& first, Orientation orientation, AVColorRange range)
    : width_(first.width),
      height_(first.height),
      orientation_(orientation),
      range_(range),
      targets_([this] { return makeTarget(); }) {}

FramePtr FrameImporter::makeTarget() const {
  const int width = FFALIGN(width_, 2);
  const int height = FFALIGN(height_, 2);
  FramePtr frame = makeSemiPlanar(AV_PIX_FMT_NV12, width, height, FFALIGN(width, 64));
  frame->color_range = range_;
  frame->crop_right = static_cast<size_t>(width - width_);
  frame->crop_bottom = static_cast<size_t>(height - height_);
  return frame;
}

FramePtr FrameImporter::import(const AVFrame& decoded) {
  if (decoded.width != width_ || decoded.height != height_) {
    throw std::runtime_error(fmt::format("the frames change from {}x{} to {}x{}", width_, height_,
                                         decoded.width, decoded.height));
  }
  FramePtr frame = targets_.take();
  copyProperties(decoded, *frame);
  fill(decoded, *frame);
  fillMargins(*frame);
  return turn(std::move(frame), orientation_);
}

void FrameImporter::fill(const AVFrame& decoded, AVFrame& target) {
  if (!hasFamiliarLayout(decoded)) return fillByConverter(decoded, target);
  const AVColorRange range = colorEncodingOf(decoded).range;
  if (range == range_) {
    copyInto<Unchanged>(decoded, target);
  } else if (range == AVCOL_RANGE_JPEG) {
    copyInto<ToLimitedRange>(decoded, target);
  } else {
    copyInto<ToFullRange>(decoded, target);
  }
}

void FrameImporter::fillByConverter(const AVFrame& decoded, AVFrame& target) {
  if (intermediate_ == nullptr) {
    intermediate_ = makeFrame(AV_PIX_FMT_NV12, FFALIGN(width_, 2), FFALIGN(height_, 2));
  }
  // The converter does not write the chroma of gray frames.
  std::memset(
      intermediate_->data[1], kNeutralChroma,
      static_cast<size_t>(intermediate_->linesize[1]) * static_cast<size_t>((height_ + 1) / 2));
  intermediate_->chroma_location = decoded.chroma_location;
  const FramePtr packed = packRgb(decoded);
  const FramePtr source(
      checkAllocated(av_frame_clone(packed == nullptr ? &decoded : packed.get())));
  // Only RGB needs a matrix here; any other frame keeps its own, known or not.
  source->colorspace = AVCOL_SPC_BT470BG;
  converter_.convert(*source, *intermediate_, {range_, AVCOL_SPC_BT470BG});
  if (isRgbLayout(decoded.format)) target.colorspace = AVCOL_SPC_BT470BG;
  copyInto<Unchanged>(*intermediate_, target);
}

} // namespace tlux::app

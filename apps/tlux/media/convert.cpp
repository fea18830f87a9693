#include "media/convert.hpp"

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include <fmt/format.h>

#include <cstring>
#include <optional>
#include <stdexcept>

#include "base/library_result.hpp"
#include "media/packed_rgb.hpp"
#include "media/semi_planar.hpp"
#include "tlux/rgb.h"

namespace tlux::app {

namespace {

constexpr int kFlags =
    SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP | SWS_BITEXACT;

bool isRgb(const AVPixFmtDescriptor& layout) {
  return (layout.flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0;
}

bool hasFullRangeName(int format) {
  switch (format) {
    case AV_PIX_FMT_YUVJ411P:
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ440P:
    case AV_PIX_FMT_YUVJ444P:
      return true;
    default:
      return false;
  }
}

const AVPixFmtDescriptor& descriptorOf(const AVFrame& frame) {
  const AVPixFmtDescriptor* layout = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
  if (layout == nullptr) throw std::runtime_error("unknown pixel layout");
  return *layout;
}

const int* coefficients(AVColorSpace matrix) {
  switch (matrix) {
    case AVCOL_SPC_BT709:
    case AVCOL_SPC_FCC:
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
    case AVCOL_SPC_SMPTE240M:
    case AVCOL_SPC_BT2020_NCL:
      return sws_getCoefficients(matrix);
    default:
      throw std::runtime_error(
          fmt::format("colour matrix {} is not supported", av_color_space_name(matrix)));
  }
}

/** Offset of the first chroma sample from the first luma sample, in 1/256 of a luma pixel. */
int horizontalChromaPosition(const AVFrame& frame) {
  return frame.chroma_location == AVCHROMA_LOC_LEFT ? 0 : 128;
}

void setOption(SwsContext* scaler, const char* name, int64_t value) {
  check(av_opt_set_int(scaler, name, value, 0));
}

ScalerPtr makeScaler(const AVFrame& source, const AVFrame& target) {
  const ColorEncoding from = colorEncodingOf(source);
  const ColorEncoding to = colorEncodingOf(target);
  const bool fromFull = from.range == AVCOL_RANGE_JPEG;
  const bool toFull = to.range == AVCOL_RANGE_JPEG;

  ScalerPtr scaler(checkAllocated(sws_alloc_context()));
  setOption(scaler.get(), "srcw", source.width);
  setOption(scaler.get(), "srch", source.height);
  setOption(scaler.get(), "src_format", source.format);
  setOption(scaler.get(), "dstw", source.width);
  setOption(scaler.get(), "dsth", source.height);
  setOption(scaler.get(), "dst_format", target.format);
  setOption(scaler.get(), "sws_flags", kFlags);
  // The ranges must be set before initialisation, which chooses the conversion.
  setOption(scaler.get(), "src_range", fromFull ? 1 : 0);
  setOption(scaler.get(), "dst_range", toFull ? 1 : 0);
  if (descriptorOf(source).log2_chroma_w == 1) {
    setOption(scaler.get(), "src_h_chr_pos", horizontalChromaPosition(source));
  }
  if (descriptorOf(target).log2_chroma_w == 1) {
    setOption(scaler.get(), "dst_h_chr_pos", horizontalChromaPosition(target));
  }
  check(sws_init_context(scaler.get(), nullptr, nullptr));
  constexpr int kUnity = 1 << 16;
  check(sws_setColorspaceDetails(scaler.get(), coefficients(from.matrix), fromFull ? 1 : 0,
                                 coefficients(to.matrix), toFull ? 1 : 0, 0, kUnity, kUnity));
  return scaler;
}

/** Whether rgb.h describes the frame: full range BT.601, chroma between its four luma samples. */
bool isLibraryFrame(const AVFrame& frame) {
  const ColorEncoding encoding = colorEncodingOf(frame);
  return (frame.format == AV_PIX_FMT_NV12 || frame.format == AV_PIX_FMT_NV21) &&
         encoding.range == AVCOL_RANGE_JPEG &&
         (encoding.matrix == AVCOL_SPC_BT470BG || encoding.matrix == AVCOL_SPC_SMPTE170M) &&
         (frame.chroma_location == AVCHROMA_LOC_UNSPECIFIED ||
          frame.chroma_location == AVCHROMA_LOC_CENTER);
}

TLUX_PICTURE pictureOf(const AVFrame& rgb, int width, int height, uint32_t layout) {
  return {rgb.data[0], rgb.linesize[0], width, height, layout, 0};
}

/** The library leaves the fourth bytes as they are. */
void fillOpaque(const AVFrame& rgba, int height) {
  for (int y = 0; y < height; ++y) {
    std::memset(rgba.data[0] + ptrdiff_t{y} * rgba.linesize[0], 255,
                static_cast<size_t>(4) * static_cast<size_t>(rgba.width));
  }
}

/** Converts RGB to a frame or back as all front ends of the library do; false for other pairs. */
bool convertByLibrary(const AVFrame& source, const AVFrame& target) {
  const int width = source.width;
  const int height = source.height;
  const std::optional<uint32_t> from = packedRgbLayoutOf(source.format);
  if (from.has_value() && isLibraryFrame(target) && target.width == FFALIGN(width, 2) &&
      target.height == FFALIGN(height, 2)) {
    const TLUX_PICTURE picture = pictureOf(source, width, height, *from);
    const TLUX_IMAGE image = imageOf(target);
    checkResult(TLUX_PictureToFrame(&picture, &image));
    return true;
  }
  const std::optional<uint32_t> to = packedRgbLayoutOf(target.format);
  if (to.has_value() && isLibraryFrame(source) && width % 2 == 0 && height % 2 == 0) {
    const TLUX_IMAGE image = imageOf(source);
    const TLUX_PICTURE picture = pictureOf(target, width, height, *to);
    const bool hasFourthBytes = *to == TLUX_RGBA || *to == TLUX_BGRA;
    if (hasFourthBytes) fillOpaque(target, height);
    checkResult(TLUX_FrameToPicture(&image, &picture));
    return true;
  }
  return false;
}

} // namespace

ColorEncoding colorEncodingOf(const AVFrame& frame) {
  const AVPixFmtDescriptor& layout = descriptorOf(frame);
  const bool isGray = layout.nb_components <= 2;
  ColorEncoding encoding = {frame.color_range, frame.colorspace};
  if (hasFullRangeName(frame.format) || isRgb(layout)) {
    encoding.range = AVCOL_RANGE_JPEG;
  } else if (encoding.range == AVCOL_RANGE_UNSPECIFIED) {
    encoding.range = isGray ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
  }
  if (isRgb(layout) || isGray || encoding.matrix == AVCOL_SPC_UNSPECIFIED ||
      encoding.matrix == AVCOL_SPC_RESERVED) {
    encoding.matrix = AVCOL_SPC_BT470BG;
  }
  return encoding;
}

Converter::Layout Converter::layoutOf(const AVFrame& frame) {
  return {frame.format,      frame.width,      frame.height,
          frame.color_range, frame.colorspace, frame.chroma_location};
}

void Converter::convert(const AVFrame& source, AVFrame& target, ColorEncoding encoding) {
  target.color_range = encoding.range;
  target.colorspace = isRgb(descriptorOf(target)) ? AVCOL_SPC_RGB : encoding.matrix;
  if (sws_isSupportedInput(static_cast<AVPixelFormat>(source.format)) == 0) {
    throw std::runtime_error(
        fmt::format("pixel layout {} is not supported", descriptorOf(source).name));
  }
  if (convertByLibrary(source, target)) return;
  if (scaler_ == nullptr || layoutOf(source) != source_ || layoutOf(target) != target_) {
    scaler_ = makeScaler(source, target);
    source_ = layoutOf(source);
    target_ = layoutOf(target);
  }
  check(sws_scale(scaler_.get(), source.data, source.linesize, 0, source.height, target.data,
                  target.linesize));
}

void convert(const AVFrame& source, AVFrame& target, ColorEncoding encoding) {
  Converter().convert(source, target, encoding);
}

FramePtr convertTo(const AVFrame& source, AVPixelFormat format, ColorEncoding encoding) {
  FramePtr target = makeFrame(format, source.width, source.height);
  convert(source, *target, encoding);
  return target;
}

} // namespace tlux::app

#pragma once

#include "media/av.hpp"

namespace tlux::app {

/** How the samples of a frame encode colour. Has no meaning for RGB layouts. */
struct ColorEncoding {
  AVColorRange range = AVCOL_RANGE_JPEG;
  AVColorSpace matrix = AVCOL_SPC_BT470BG; // BT.601
};

/** The frame's own encoding, with the defaults of still pictures for unspecified parts. */
ColorEncoding colorEncodingOf(const AVFrame& frame);

/**
 * Fills @p target (allocated, at least as large as @p source in each direction) from @p source,
 * with accurate rounding and interpolated chroma, and records the encoding in it. Alpha is ignored.
 * RGB and frames of the library's own encoding go through tlux/rgb.h, all else through libswscale.
 * Throws std::runtime_error for a layout or matrix that cannot be converted.
 */
void convert(const AVFrame& source, AVFrame& target, ColorEncoding encoding);

/** convert() for a stream of frames: whatever depends only on their layout is set up once. */
class Converter {
 public:
  void convert(const AVFrame& source, AVFrame& target, ColorEncoding encoding);

 private:
  struct Layout {
    int format;
    int width;
    int height;
    AVColorRange range;
    AVColorSpace matrix;
    AVChromaLocation chromaLocation;

    bool operator==(const Layout&) const = default;
  };
  static Layout layoutOf(const AVFrame& frame);

  ScalerPtr scaler_;
  Layout source_ = {};
  Layout target_ = {};
};

/** A converted copy, without the properties and the crop of the source. */
FramePtr convertTo(const AVFrame& source, AVPixelFormat format, ColorEncoding encoding);

} // namespace tlux::app

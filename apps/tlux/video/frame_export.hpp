#pragma once

#include "media/convert.hpp"
#include "video/frame_pool.hpp"

namespace tlux::app {

/** Converts the library's frames to a layout that the encoder accepts. */
class FrameExporter {
 public:
  /** @param width of the frames without their padding. */
  FrameExporter(AVPixelFormat layout, int width, int height, AVColorRange range);

  /** Returns the frame itself if its layout fits. Properties are kept. */
  FramePtr exportFrame(FramePtr frame);

 private:
  bool fitsAlready(const AVFrame& frame) const;
  bool canCopyRows(const AVFrame& frame) const;
  void copyRows(const AVFrame& frame, AVFrame& target) const;
  void copyByConverter(const AVFrame& frame, AVFrame& target);

  AVPixelFormat layout_;
  int width_;
  int height_;
  AVColorRange range_;
  FramePool targets_;
  FramePtr intermediate_;
  Converter converter_;
};

} // namespace tlux::app

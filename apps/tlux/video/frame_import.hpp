#pragma once

#include "media/convert.hpp"
#include "media/orientation.hpp"
#include "video/frame_pool.hpp"

namespace tlux::app {

/** Converts the decoded frames of one stream to NV12 frames for the library. */
class FrameImporter {
 public:
  /**
   * @param first a frame of the stream; the others must have its size.
   * @param orientation how to rotate frames.
   * @param range of the resulting frames; others are converted.
   */
  FrameImporter(const AVFrame& first, Orientation orientation, AVColorRange range);

  /** Has the properties of @p decoded; odd sizes get an extra column or row, recorded in the crop
   * fields. */
  FramePtr import(const AVFrame& decoded);

 private:
  FramePtr makeTarget() const;
  void fill(const AVFrame& decoded, AVFrame& target);
  void fillByConverter(const AVFrame& decoded, AVFrame& target);

  int width_;
  int height_;
  Orientation orientation_;
  AVColorRange range_;
  FramePool targets_;
  FramePtr intermediate_;
  Converter converter_;
};

/** Whether a layout is RGB, directly or through a palette. */
bool isRgbLayout(int format);

} // namespace tlux::app

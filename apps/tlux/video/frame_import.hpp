#pragma once

#include "media/convert.hpp"
#include "media/orientation.hpp"
#include "video/frame_pool.hpp"

namespace tlux::app {

/** Turns the decoded frames of one stream into frames for the library: NV12. */
class FrameImporter {
 public:
  /**
   * @param first a frame of the stream; the others must have its size.
   * @param orientation how frames are turned.
   * @param range of the frames made; those of another range are converted.
   */
  FrameImporter(const AVFrame& first, Orientation orientation, AVColorRange range);

  /** With the properties of @p decoded; odd sizes have a column or row more, told by the crop
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

/** Whether frames of this layout hold red, green and blue, or entries of such a table. */
bool isRgbLayout(int format);

} // namespace tlux::app

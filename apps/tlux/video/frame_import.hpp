#pragma once

#include "media/convert.hpp"
#include "media/orientation.hpp"
#include "video/frame_pool.hpp"

namespace tlux::app {

/** Turns the decoded frames of one stream into frames for the library: NV12, full range. */
class FrameImporter {
 public:
  /**
   * @param first a frame of the stream; the others must have its size.
   * @param orientation how frames are turned.
   */
  FrameImporter(const AVFrame& first, Orientation orientation);

  /** With the properties of @p decoded; padded to whole blocks at the left and top. */
  FramePtr import(const AVFrame& decoded);

 private:
  FramePtr makeTarget() const;
  void fill(const AVFrame& decoded, AVFrame& target);
  void fillByConverter(const AVFrame& decoded, AVFrame& target);

  int width_;
  int height_;
  Orientation orientation_;
  FramePool targets_;
  FramePtr intermediate_;
  Converter converter_;
};

/** Whether frames of this layout hold red, green and blue, or entries of such a table. */
bool isRgbLayout(int format);

} // namespace tlux::app

#pragma once

#include <string>
#include <vector>

#include "media/av.hpp"

namespace tlux::app {

/** A line of text by the top left corner of its letters, in pixels, or by the top right one. */
struct Label {
  std::string text;
  int x = 0;
  int y = 0;
  bool endsAtX = false;
};

struct TextStyle {
  int size = 16;       // font size in pixels
  bool hasBox = false; // a dark translucent box behind the letters
};

/** The widest that a text of this many characters gets, roughly. */
int textWidth(size_t characters, int size);

/** The frame with the labels drawn in light grey; everything else stays as it is. */
FramePtr drawLabels(const AVFrame& frame, const std::vector<Label>& labels, TextStyle style);

} // namespace tlux::app

#pragma once

#include <string>
#include <vector>

#include "media/av.hpp"

namespace tlux::app {

/** A line of text, positioned in pixels by the top left or top right corner of its letters. */
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

/** Approximate upper bound on the width of a text of this many characters. */
int textWidth(size_t characters, int size);

/** The frame with labels drawn in light grey; everything else is unchanged. */
FramePtr drawLabels(const AVFrame& frame, const std::vector<Label>& labels, TextStyle style);

} // namespace tlux::app

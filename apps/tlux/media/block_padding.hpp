#pragma once

#include "media/av.hpp"

namespace tlux::app {

// The library optimizes whole blocks of 16 pixels, counted from the top left, and leaves what
// remains at the right and bottom as it was. A picture should have no such strips: it is extended
// to whole blocks for the run. The padding goes to the left and top, because the mark is placed
// from the lower right. Rows follow each other without a gap, because the library pairs chroma with
// luma by the width.

constexpr int kBlock = 16;

/** The frame with repeated first columns and rows; null where it can stay as it is, being of whole
 * blocks without gaps, or too small to be optimized. */
FramePtr extendToBlocks(const AVFrame& frame);

/** What remains of @p extended without the padding: a frame like the original @p model. */
FramePtr cutFromBlocks(const AVFrame& extended, const AVFrame& model);

} // namespace tlux::app

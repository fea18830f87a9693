#pragma once

#include "media/av.hpp"

namespace tlux::app {

// The library optimizes whole blocks of 16 pixels, counted from the top left, and leaves what
// remains at the right and bottom as it was. A picture should have no such strips: it is extended
// to whole blocks for the run. The padding goes to the left and top, because the mark is placed
// from the lower right.

/** The frame with repeated first columns and rows, null where a side under 16 makes it pointless.
 */
FramePtr extendToBlocks(const AVFrame& frame);

/** What remains of @p extended without the padding: a frame like the original @p model. */
FramePtr cutFromBlocks(const AVFrame& extended, const AVFrame& model);

} // namespace tlux::app

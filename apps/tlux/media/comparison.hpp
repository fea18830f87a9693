#pragma once

#include "media/av.hpp"

namespace tlux::app {

// Two frames of the same layout and size in one, with a light seam between them.

/** The frames beside each other. */
FramePtr placeSideBySide(const AVFrame& left, const AVFrame& right);

/** The left half of the one and the right half of the other. */
FramePtr splitDownTheMiddle(const AVFrame& left, const AVFrame& right);

/** A comparison with "before" written in its top left corner and "after" in its top right one; null
 * where it is too small for that. */
FramePtr labelSides(const AVFrame& comparison);

} // namespace tlux::app

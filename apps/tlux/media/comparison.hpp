#pragma once

#include "media/av.hpp"

namespace tlux::app {

// Combines two frames of the same layout and size, with a light seam between them.

/** The frames side by side. */
FramePtr placeSideBySide(const AVFrame& left, const AVFrame& right);

/** The left half of one and the right half of the other. */
FramePtr splitDownTheMiddle(const AVFrame& left, const AVFrame& right);

/** A comparison with "before" in its top left corner and "after" in its top right; null if it is
 * too small for that. */
FramePtr labelSides(const AVFrame& comparison);

} // namespace tlux::app

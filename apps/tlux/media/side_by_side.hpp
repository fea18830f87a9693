#pragma once

#include "media/picture.hpp"

namespace tlux::app {

/** One frame with @p left and @p right beside each other and a light seam between them. */
FramePtr placeSideBySide(const AVFrame& left, const AVFrame& right);

} // namespace tlux::app

#pragma once

#include <array>

#include "cli/size.hpp"

namespace tlux::app {

/** Sizes of video frames and camera stills. */
inline constexpr std::array kUsualResolutions = {Size{640, 480}, Size{1280, 720}, Size{1920, 1080},
                                                 Size{3840, 2160}, Size{4000, 3000}};

} // namespace tlux::app

#pragma once

#include <string>
#include <vector>

#include "media/av.hpp"

namespace tlux::app {

struct Tile {
  FramePtr picture; // RGB24
  std::string label;
};

/**
 * Tiles of one size in rows on dark grey, each above its label. No tile is scaled.
 * @param columns tiles in a row, 0 to give the sheet the shape of a screen.
 */
FramePtr makeContactSheet(const std::vector<Tile>& tiles, int columns);

} // namespace tlux::app

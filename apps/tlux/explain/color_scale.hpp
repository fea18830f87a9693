#pragma once

#include <cstdint>
#include <string>

namespace tlux::app {

struct Color {
  uint8_t red;
  uint8_t green;
  uint8_t blue;
};

/** From blue at −1 through nearly white at 0 to brown at 1, also distinguishable for colour-blind
 * readers. Values beyond the ends get the colour of the end. */
Color divergingColor(double value);

/** "#rrggbb". */
std::string hexOf(Color color);

} // namespace tlux::app

#include "explain/color_scale.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace tlux::app {

namespace {

// At equal distances from −1 to 1.
constexpr std::array<Color, 7> kAnchors = {{{8, 48, 107},
                                            {44, 115, 178},
                                            {142, 190, 218},
                                            {245, 243, 238},
                                            {246, 188, 108},
                                            {212, 110, 26},
                                            {127, 42, 4}}};

uint8_t blend(uint8_t from, uint8_t to, double share) {
  return static_cast<uint8_t>(std::lround(from + (double{1} * to - from) * share));
}

} // namespace

Color divergingColor(double value) {
  const double place = (std::clamp(value, -1.0, 1.0) + 1) / 2 * (kAnchors.size() - 1);
  const size_t anchor = std::min(static_cast<size_t>(place), kAnchors.size() - 2);
  const double share = place - static_cast<double>(anchor);
  const Color& from = kAnchors[anchor];
  const Color& to = kAnchors[anchor + 1];
  return {blend(from.red, to.red, share), blend(from.green, to.green, share),
          blend(from.blue, to.blue, share)};
}

std::string hexOf(Color color) {
  return fmt::format("#{:02x}{:02x}{:02x}", color.red, color.green, color.blue);
}

} // namespace tlux::app

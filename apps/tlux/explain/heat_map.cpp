#include "explain/heat_map.hpp"

#include <fmt/format.h>

#include "explain/color_scale.hpp"

namespace tlux::app {

FramePtr drawHeatMap(const std::vector<double>& values, int width, int height, double range) {
  FramePtr map = makeFrame(AV_PIX_FMT_RGB24, width, height);
  const double* value = values.data();
  for (int y = 0; y < height; ++y) {
    uint8_t* pixel = map->data[0] + ptrdiff_t{y} * map->linesize[0];
    for (int x = 0; x < width; ++x) {
      const Color color = divergingColor(*value++ / range);
      *pixel++ = color.red;
      *pixel++ = color.green;
      *pixel++ = color.blue;
    }
  }
  return map;
}

std::string drawLegend(const std::string& id, double range, const std::vector<Tick>& ticks) {
  constexpr int kLeft = 40;
  constexpr int kWidth = 560;
  constexpr int kStops = 13;
  std::string stops;
  for (int stop = 0; stop < kStops; ++stop) {
    const double share = double{1} * stop / (kStops - 1);
    stops += fmt::format("<stop offset=\"{:.4f}\" stop-color=\"{}\"/>", share,
                         hexOf(divergingColor(2 * share - 1)));
  }
  std::string svg = fmt::format(
      "<svg class=\"legend\" viewBox=\"0 0 640 52\" role=\"img\" aria-label=\"Colour scale\">\n"
      "<linearGradient id=\"{0}\">{1}</linearGradient>\n"
      "<rect x=\"{2}\" y=\"4\" width=\"{3}\" height=\"16\" fill=\"url(#{0})\"/>\n",
      id, stops, kLeft, kWidth);
  for (const Tick& tick : ticks) {
    const double x = kLeft + (tick.at / range + 1) / 2 * kWidth;
    svg += fmt::format(
        "<path class=\"axis\" d=\"M{0:.1f} 20v5\"/>"
        "<text x=\"{0:.1f}\" y=\"44\" text-anchor=\"middle\">{1}</text>\n",
        x, tick.label);
  }
  return svg + "</svg>\n";
}

} // namespace tlux::app

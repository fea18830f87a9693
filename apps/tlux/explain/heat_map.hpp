#pragma once

#include <string>
#include <vector>

#include "explain/svg_plot.hpp"
#include "media/av.hpp"

namespace tlux::app {

/** Packed values as colours of the diverging scale, @p range and beyond being its end: RGB24. */
FramePtr drawHeatMap(const std::vector<double>& values, int width, int height, double range);

/** The scale from −range to range as SVG, with ticks. @param id unique in the page. */
std::string drawLegend(const std::string& id, double range, const std::vector<Tick>& ticks);

} // namespace tlux::app

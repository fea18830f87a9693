#pragma once

#include <string>
#include <vector>

#include "explain/svg_plot.hpp"
#include "media/av.hpp"

namespace tlux::app {

/** Packed values as RGB24 colours of the diverging scale, which ends at @p range. */
FramePtr drawHeatMap(const std::vector<double>& values, int width, int height, double range);

/** The scale from −range to range as SVG, with ticks. @param id unique within the page. */
std::string drawLegend(const std::string& id, double range, const std::vector<Tick>& ticks);

} // namespace tlux::app

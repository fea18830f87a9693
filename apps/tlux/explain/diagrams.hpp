#pragma once

#include <string>

#include "explain/luma_statistics.hpp"
#include "explain/trace.hpp"

namespace tlux::app {

// The diagrams of the page, as SVG.

/** Gain over score, with how often each score occurs in the frame below it. */
std::string drawGainCurve(const Trace& trace);

/** Mapped luma over luma of the reference frame. */
std::string drawToneCurve(const Trace& trace);

std::string drawHistograms(const Histogram& before, const Histogram& after);

} // namespace tlux::app

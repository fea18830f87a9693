#pragma once

#include <vector>

#include "explain/svg_plot.hpp"
#include "explain/trace.hpp"

namespace tlux::app {

// Light is compared in stops: one stop is a factor of 2.

/** A score in stops. */
double stopsOfScore(double score);

/** The range of the frame's scores, −range to range in whole stops; rare ones may lie beyond. */
double scoreRange(const Trace& trace);
std::vector<Tick> scoreTicks(double range);

/** The range of the strength's gains, −range to range in stops. */
double gainRange(const Trace& trace);
/** In stops, labelled as factors: "×½", "×2". */
std::vector<Tick> gainTicks(double range);

} // namespace tlux::app

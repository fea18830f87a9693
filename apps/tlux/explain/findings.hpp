#pragma once

#include <string>
#include <vector>

#include "explain/luma_statistics.hpp"
#include "explain/trace.hpp"

namespace tlux::app {

/** What a reader should know first, one sentence or two each. */
std::vector<std::string> describeFindings(const Trace& trace, const Histogram& before,
                                          const Histogram& after);

/** The most that a strength lifts, as a factor of linear light. */
double largestGainOf(const Trace& trace);

} // namespace tlux::app

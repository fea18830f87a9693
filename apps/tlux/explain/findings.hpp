#pragma once

#include <string>
#include <vector>

#include "explain/luma_statistics.hpp"
#include "explain/trace.hpp"

namespace tlux::app {

/** The figures of a run. */
struct Findings {
  double lifted = 0;      // share of the reference frame
  double darkened = 0;    // likewise
  double medianGain = 1;  // of what is lifted, a factor of linear light
  double largestGain = 1; // likewise
  double meanBefore = 0;  // luma
  double meanAfter = 0;
};

Findings findingsOf(const Trace& trace, const Histogram& before, const Histogram& after);

/** What a reader should know first, in one or two sentences each. */
std::vector<std::string> describeFindings(const Trace& trace, const Histogram& before,
                                          const Histogram& after);

/** The largest gain of a strength, as a factor of linear light. */
double largestGainOf(const Trace& trace);

} // namespace tlux::app

#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "explain/trace.hpp"
#include "media/av.hpp"

namespace tlux::app {

/** How often each luma code occurs, as a share of the pixels. */
using Histogram = std::array<double, 256>;

/** Of what is shown of the frame, without its margins. */
Histogram histogramOf(const AVFrame& frame);

double meanOf(const Histogram& histogram);

/** Share of the pixels with codes from @p first to @p last. */
double shareOf(const Histogram& histogram, int first, int last);

/** What becomes of the reference pixels of a small range of codes. */
struct ToneStep {
  double code;   // middle of the range
  double low;    // the tenth part of the mapped codes is below it
  double middle; // median
  double high;   // the tenth part of the mapped codes is above it
};

/** Ascending codes; ranges that hardly occur are left out. */
std::vector<ToneStep> toneCurveOf(const Trace& trace);

/** The value that @p share of the values are below; there must be one value at least. */
double quantile(std::vector<double> values, double share);

} // namespace tlux::app

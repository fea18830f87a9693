#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "explain/trace.hpp"
#include "media/av.hpp"

namespace tlux::app {

/** How often each luma code occurs, as a share of the pixels. */
using Histogram = std::array<double, 256>;

/** The histogram of the visible part of the frame. */
Histogram histogramOf(const AVFrame& frame);

double meanOf(const Histogram& histogram);

/** Share of the pixels with codes from @p first to @p last. */
double shareOf(const Histogram& histogram, int first, int last);

/** The mapped values of the reference pixels in a small range of codes. */
struct ToneStep {
  double code;   // middle of the range
  double low;    // 10 % of the mapped codes are below
  double middle; // median
  double high;   // 10 % of the mapped codes are above
};

/** In ascending order of codes; ranges that hardly occur are omitted. */
std::vector<ToneStep> toneCurveOf(const Trace& trace);

/** The value below which @p share of the values lie; there must be at least one value. */
double quantile(std::vector<double> values, double share);

} // namespace tlux::app

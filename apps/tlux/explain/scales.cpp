#include "explain/scales.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "explain/findings.hpp"
#include "explain/luma_statistics.hpp"

namespace tlux::app {

double stopsOfScore(double score) {
  return score / kUnityScore / std::numbers::ln2;
}

double scoreRange(const Trace& trace) {
  std::vector<double> sizes;
  sizes.reserve(trace.pixels());
  for (const int16_t score : trace.scores) {
    sizes.push_back(std::abs(stopsOfScore(score)));
  }
  return std::max(2.0, std::ceil(quantile(std::move(sizes), 0.995)));
}

std::vector<Tick> scoreTicks(double range) {
  std::vector<Tick> ticks = roundTicks(-range, range, 8);
  for (Tick& tick : ticks) {
    tick.label = tick.at > 0 ? "+" + tick.label : tick.label;
    if (tick.at < 0) tick.label.replace(0, 1, "−");
  }
  return ticks;
}

double gainRange(const Trace& trace) {
  return std::max(1.0, std::log2(largestGainOf(trace)) * 1.02);
}

std::vector<Tick> gainTicks(double range) {
  std::vector<Tick> ticks;
  const auto last = static_cast<int>(std::floor(range));
  for (int stops = -last; stops <= last; ++stops) {
    const int factor = 1 << std::abs(stops);
    ticks.push_back(
        {double{1} * stops, stops < 0 ? fmt::format("×1/{}", factor) : fmt::format("×{}", factor)});
  }
  return ticks;
}

} // namespace tlux::app

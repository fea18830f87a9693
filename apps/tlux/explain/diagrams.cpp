#include "explain/diagrams.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "explain/scales.hpp"
#include "explain/svg_plot.hpp"

namespace tlux::app {

namespace {

/** How often scores occur, scaled to at most 1: points over stops. */
std::vector<Point> scoreDistribution(const Trace& trace, double range) {
  constexpr size_t kBins = 120;
  std::vector<double> counts(kBins);
  for (const int16_t score : trace.scores) {
    const double share = (stopsOfScore(score) / range + 1) / 2;
    const double bin = std::clamp(share * kBins, 0.0, kBins - 1.0);
    ++counts[static_cast<size_t>(bin)];
  }
  const double most = *std::max_element(counts.begin(), counts.end());
  std::vector<Point> points;
  for (size_t bin = 0; bin < kBins; ++bin) {
    const double middle = (static_cast<double>(bin) + 0.5) / kBins;
    points.push_back({(2 * middle - 1) * range, counts[bin] / most});
  }
  return points;
}

std::vector<Point> gainCurve(const Trace& trace, double range) {
  constexpr int kSteps = 200;
  std::vector<Point> points;
  for (int step = 0; step <= kSteps; ++step) {
    const double stops = range * (2.0 * step / kSteps - 1);
    const double score =
        std::clamp<double>(stops * kUnityScore * std::log(2.0), -kLargestScore, kLargestScore);
    const auto index = static_cast<uint16_t>(static_cast<int16_t>(std::lround(score)));
    const uint16_t gain = std::max<uint16_t>(trace.gainTable[index], 1);
    points.push_back({stops, std::log2(factorOf(gain))});
  }
  return points;
}

/** Two codes per bar, so codes skipped by a tone curve leave no gaps. */
std::vector<Point> bars(const Histogram& histogram) {
  std::vector<Point> points;
  for (size_t code = 0; code < histogram.size(); code += 2) {
    points.push_back(
        {static_cast<double>(code) + 0.5, 50 * (histogram[code] + histogram[code + 1])});
  }
  return points;
}

/** The highest bar except at the ends, which clipped areas can make very high. */
double highest(const std::vector<Point>& points) {
  double most = 0;
  for (size_t i = 1; i + 1 < points.size(); ++i) {
    most = std::max(most, points[i].y);
  }
  return most > 0 ? most : std::max(points.front().y, points.back().y);
}

Axis codeAxis(const std::string& title) {
  Axis axis = {0, 255, title, {}};
  for (int code = 0; code < 256; code += 32) {
    axis.ticks.push_back({double{1} * code, fmt::format("{}", code)});
  }
  axis.ticks.push_back({255, "255"});
  return axis;
}

} // namespace

std::string drawGainCurve(const Trace& trace) {
  const double scores = scoreRange(trace);
  const double gains = gainRange(trace);
  SvgPlot plot({-scores, scores, "score in stops", scoreTicks(scores)},
               {-gains, gains, "gain", gainTicks(gains)});
  std::vector<Point> distribution = scoreDistribution(trace, scores);
  for (Point& point : distribution) {
    point.y = gains * (0.8 * point.y - 1); // lower part of the diagram
  }
  plot.addArea(distribution, "before");
  plot.addLine({{-scores, 0}, {scores, 0}}, "guide");
  plot.addLine(gainCurve(trace, scores), "");
  return plot.finish("Gain over score");
}

std::string drawToneCurve(const Trace& trace) {
  SvgPlot plot(codeAxis("luma of the reference frame"), codeAxis("mapped luma"));
  std::vector<Point> low;
  std::vector<Point> middle;
  std::vector<Point> high;
  for (const ToneStep& step : toneCurveOf(trace)) {
    low.push_back({step.code, step.low});
    middle.push_back({step.code, step.middle});
    high.push_back({step.code, step.high});
  }
  plot.addBand(low, high);
  plot.addLine({{0, 0}, {255, 255}}, "guide");
  plot.addLine(middle, "");
  return plot.finish("Mapped luma over luma");
}

std::string drawHistograms(const Histogram& before, const Histogram& after) {
  const std::vector<Point> first = bars(before);
  const std::vector<Point> second = bars(after);
  const double top = 1.05 * std::max(highest(first), highest(second));
  SvgPlot plot(codeAxis("luma"), {0, top, "pixels in % for each code", roundTicks(0, top, 5)},
               1320);
  plot.addArea(first, "before");
  plot.addLine(second, "");
  return plot.finish("Luma histograms before and after");
}

} // namespace tlux::app

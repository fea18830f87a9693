#include "explain/svg_plot.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace tlux::app {

namespace {

// In drawing units.
constexpr double kHeight = 400;
constexpr double kLeft = 76;
constexpr double kTop = 12;
constexpr double kBottom = kHeight - 64;

double shareOf(const Axis& axis, double value) {
  return std::clamp((value - axis.from) / (axis.to - axis.from), 0.0, 1.0);
}

} // namespace

std::vector<Tick> roundTicks(double from, double to, int count) {
  const double rough = (to - from) / count;
  const double power = std::pow(10, std::floor(std::log10(rough)));
  double step = 10 * power;
  for (const double factor : {5.0, 2.0, 1.0}) {
    if (factor * power >= rough) step = factor * power;
  }
  std::vector<Tick> ticks;
  const double tolerance = step / 1000;
  for (double n = std::ceil((from - tolerance) / step); n * step <= to + tolerance; ++n) {
    ticks.push_back({n * step, fmt::format("{:.6g}", n * step + 0.0)}); // never "-0"
  }
  return ticks;
}

SvgPlot::SvgPlot(Axis x, Axis y, double width)
    : x_(std::move(x)), y_(std::move(y)), width_(width), right_(width - 20) {}

void SvgPlot::addArea(const std::vector<Point>& points, const std::string& style) {
  if (points.empty()) return;
  content_ +=
      fmt::format("<path class=\"area {}\" d=\"{}L{:.1f} {:.1f}L{:.1f} {:.1f}Z\"/>\n", style,
                  path(points), toX(points.back().x), kBottom, toX(points.front().x), kBottom);
}

void SvgPlot::addBand(const std::vector<Point>& lower, const std::vector<Point>& upper) {
  std::vector<Point> outline = lower;
  outline.insert(outline.end(), upper.rbegin(), upper.rend());
  if (outline.empty()) return;
  content_ += fmt::format("<path class=\"band\" d=\"{}Z\"/>\n", path(outline));
}

void SvgPlot::addLine(const std::vector<Point>& points, const std::string& style) {
  if (points.empty()) return;
  content_ += fmt::format("<path class=\"line {}\" d=\"{}\"/>\n", style, path(points));
}

std::string SvgPlot::finish(const std::string& description) const {
  return fmt::format(
      "<svg class=\"plot\" viewBox=\"0 0 {} {}\" role=\"img\" aria-label=\"{}\">\n{}{}</svg>\n",
      width_, kHeight, description, grid(), content_);
}

double SvgPlot::toX(double value) const {
  return kLeft + shareOf(x_, value) * (right_ - kLeft);
}

double SvgPlot::toY(double value) const {
  return kBottom - shareOf(y_, value) * (kBottom - kTop);
}

std::string SvgPlot::path(const std::vector<Point>& points) const {
  std::string commands;
  for (const Point& point : points) {
    commands +=
        fmt::format("{}{:.1f} {:.1f}", commands.empty() ? 'M' : 'L', toX(point.x), toY(point.y));
  }
  return commands;
}

std::string SvgPlot::grid() const {
  std::string svg;
  for (const Tick& tick : x_.ticks) {
    svg += fmt::format(
        "<path class=\"grid\" d=\"M{0:.1f} {1}V{2}\"/>"
        "<text x=\"{0:.1f}\" y=\"{3}\" text-anchor=\"middle\">{4}</text>\n",
        toX(tick.at), kTop, kBottom, kBottom + 24, tick.label);
  }
  for (const Tick& tick : y_.ticks) {
    svg += fmt::format(
        "<path class=\"grid\" d=\"M{0} {1:.1f}H{2}\"/>"
        "<text x=\"{3}\" y=\"{4:.1f}\" text-anchor=\"end\">{5}</text>\n",
        kLeft, toY(tick.at), right_, kLeft - 8, toY(tick.at) + 6, tick.label);
  }
  svg +=
      fmt::format("<path class=\"axis\" d=\"M{0} {1}V{2}H{3}\"/>\n", kLeft, kTop, kBottom, right_);
  svg += fmt::format("<text x=\"{}\" y=\"{}\" text-anchor=\"middle\">{}</text>\n",
                     (kLeft + right_) / 2, kHeight - 8, x_.title);
  svg += fmt::format(
      "<text transform=\"translate(18 {}) rotate(-90)\" text-anchor=\"middle\">{}</text>\n",
      (kTop + kBottom) / 2, y_.title);
  return svg;
}

} // namespace tlux::app

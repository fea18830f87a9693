#pragma once

#include <string>
#include <vector>

namespace tlux::app {

struct Point {
  double x;
  double y;
};

struct Tick {
  double at;
  std::string label;
};

struct Axis {
  double from;
  double to;
  std::string title;
  std::vector<Tick> ticks;
};

/** About @p count ticks at round numbers from @p from to @p to. */
std::vector<Tick> roundTicks(double from, double to, int count);

/**
 * A diagram as SVG: a grid with ticks and titles, and in it what is added, in that order. How
 * things look is left to the style sheet of the page, by classes: area, band, line, guide.
 */
class SvgPlot {
 public:
  /** @param width of the drawing, which is 400 high, a letter of its text 18. */
  SvgPlot(Axis x, Axis y, double width = 640);

  /** Filled from the points down to the x axis. */
  void addArea(const std::vector<Point>& points, const std::string& style);

  /** Filled between two rows of points over the same x. */
  void addBand(const std::vector<Point>& lower, const std::vector<Point>& upper);

  void addLine(const std::vector<Point>& points, const std::string& style);

  /** @param description for readers who do not see the diagram. */
  std::string finish(const std::string& description) const;

 private:
  double toX(double value) const;
  double toY(double value) const;
  std::string path(const std::vector<Point>& points) const;
  std::string grid() const;

  Axis x_;
  Axis y_;
  double width_;
  double right_; // end of the x axis
  std::string content_;
};

} // namespace tlux::app

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
 * An SVG diagram: a grid with ticks and titles, then everything that is added, in order. The page's
 * style sheet defines the look by the classes area, band, line and guide.
 */
class SvgPlot {
 public:
  /** @param width of the drawing; its height is 400, its font size 18. */
  SvgPlot(Axis x, Axis y, double width = 640);

  /** An area from the points down to the x axis. */
  void addArea(const std::vector<Point>& points, const std::string& style);

  /** The area between two rows of points with the same x. */
  void addBand(const std::vector<Point>& lower, const std::vector<Point>& upper);

  void addLine(const std::vector<Point>& points, const std::string& style);

  /** @param description for readers who cannot see the diagram. */
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

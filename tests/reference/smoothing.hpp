#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "reference/guided_filter.hpp"

// Smoothing as plain formulas, window by window. Planes are rows end to end.
namespace tlux::reference {

using Plane = std::vector<std::uint8_t>;

// a of each guide channel, then b, of every pixel.
template <int Guides>
using RealCoefficients = std::array<std::vector<double>, Guides + 1>;

template <int Guides>
RealCoefficients<Guides> fitGuided(const Plane& guide, const Plane& input, Size size, int radius,
                                   int epsilon) {
  RealCoefficients<Guides> out;
  forEachPixel(size.width, size.height, [&](int x, int y) {
    const auto fit = fitWindow<Guides>(guide, input, size, x, y, radius, epsilon);
    double b = fit.mean[Guides];
    for (std::size_t c = 0; c < Guides; ++c) {
      out[c].push_back(fit.a[c]);
      b -= fit.a[c] * fit.mean[c];
    }
    out[Guides].push_back(b);
  });
  return out;
}

template <int Guides>
RealCoefficients<Guides> meansOf(const RealCoefficients<Guides>& coefficients, Size size,
                                 int radius) {
  RealCoefficients<Guides> out;
  forEachPixel(size.width, size.height, [&](int x, int y) {
    for (std::size_t c = 0; c <= Guides; ++c) {
      double sum = 0;
      const auto n = static_cast<double>(
          forWindow(size, x, y, radius, [&](std::size_t i) { sum += coefficients[c][i]; }));
      out[c].push_back(sum / n);
    }
  });
  return out;
}

// The guided filter in real numbers, not clamped.
template <int Guides>
std::vector<double> guidedFilter(const Plane& guide, const Plane& input, Size size, int radius,
                                 int epsilon) {
  const auto means =
      meansOf<Guides>(fitGuided<Guides>(guide, input, size, radius, epsilon), size, radius);
  std::vector<double> out;
  for (std::size_t i = 0; i < input.size(); ++i) {
    double value = means[Guides][i];
    for (std::size_t c = 0; c < Guides; ++c) {
      value += means[c][i] * guide[Guides * i + c];
    }
    out.push_back(value);
  }
  return out;
}

inline Plane reduceByMeans(const Plane& plane, Size size, int factor) {
  Plane out;
  for (int top = 0; top < size.height; top += factor) {
    for (int left = 0; left < size.width; left += factor) {
      int sum = 0;
      int count = 0;
      forEachIn(left, top, std::min(left + factor, size.width), std::min(top + factor, size.height),
                [&](int x, int y) {
                  sum += plane[y * size.width + x];
                  ++count;
                });
      out.push_back(static_cast<std::uint8_t>(std::lround(static_cast<double>(sum) / count)));
    }
  }
  return out;
}

// The guided filter with coefficients of reduced planes, in real numbers but for the weights of
// 1 / 64 steps.
inline std::vector<double> fastGuidedFilter(const Plane& guide, const Plane& input, Size size,
                                            int radius, int epsilon, int factor) {
  const Size small = {(size.width + factor - 1) / factor, (size.height + factor - 1) / factor};
  int smallRadius = static_cast<int>(std::lround(static_cast<double>(radius) / factor));
  if (radius > 0) smallRadius = std::max(smallRadius, 1);
  const auto means =
      meansOf<1>(fitGuided<1>(reduceByMeans(guide, size, factor),
                              reduceByMeans(input, size, factor), small, smallRadius, epsilon),
                 small, smallRadius);
  const auto at = [&](std::size_t c, int x, int y) {
    x = std::min(x, small.width - 1);
    y = std::min(y, small.height - 1);
    return means[c][static_cast<std::size_t>(y * small.width + x)];
  };
  std::vector<double> out;
  forEachPixel(size.width, size.height, [&](int x, int y) {
    const double px = std::max((x + 0.5) / factor - 0.5, 0.0);
    const double py = std::max((y + 0.5) / factor - 0.5, 0.0);
    const int x0 = static_cast<int>(px);
    const int y0 = static_cast<int>(py);
    const double wx = std::floor((px - x0) * 64 + 0.5 + 1e-9) / 64;
    const double wy = std::floor((py - y0) * 64 + 0.5 + 1e-9) / 64;
    const auto enlarged = [&](std::size_t c) {
      return (1 - wy) * ((1 - wx) * at(c, x0, y0) + wx * at(c, x0 + 1, y0)) +
             wy * ((1 - wx) * at(c, x0, y0 + 1) + wx * at(c, x0 + 1, y0 + 1));
    };
    out.push_back(enlarged(0) * guide[out.size()] + enlarged(1));
  });
  return out;
}

// The bilateral filter with its rounded weights, exact.
inline Plane bilateral(const Plane& plane, Size size, int radius, double rangeSigma,
                       double spaceSigma) {
  const auto gaussian = [](double x, double sigma) {
    return std::exp(-x * x / (2 * sigma * sigma));
  };
  const auto forDisc = [&](auto visit) {
    for (int dy = -radius; dy <= radius; ++dy) {
      for (int dx = -radius; dx <= radius; ++dx) {
        if (dx * dx + dy * dy <= radius * radius) visit(dx, dy, std::hypot(dx, dy));
      }
    }
  };
  double sum = 0;
  forDisc([&](int, int, double distance) { sum += gaussian(distance, spaceSigma); });
  const double one = std::min(32767.0, 8388608.0 / sum);
  return mapPixels(size.width, size.height, [&](int x, int y) {
    const auto at = [&](int i, int j) {
      return plane[std::clamp(j, 0, size.height - 1) * size.width +
                   std::clamp(i, 0, size.width - 1)];
    };
    std::int64_t weights = 0;
    std::int64_t weighted = 0;
    forDisc([&](int dx, int dy, double distance) {
      const int sample = at(x + dx, y + dy);
      const auto weight = std::lround(one * gaussian(sample - at(x, y), rangeSigma) *
                                      gaussian(distance, spaceSigma));
      weights += weight;
      weighted += weight * sample;
    });
    return static_cast<std::uint8_t>((weighted + weights / 2) / weights);
  });
}

} // namespace tlux::reference

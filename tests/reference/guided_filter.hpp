#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "reference/loops.hpp"

// The guided filter as plain formulas: every window is summed separately. Rows have no gaps.
namespace tlux::reference {

struct Size {
  int width;
  int height;
};

// Calls visit(index) for the pixels of the window around (x, y) that lie in the image; returns
// their number.
template <class Visit>
std::int64_t forWindow(Size size, int x, int y, int radius, Visit&& visit) {
  std::int64_t count = 0;
  forEachIn(std::max(x - radius, 0), std::max(y - radius, 0), std::min(x + radius + 1, size.width),
            std::min(y + radius + 1, size.height), [&](int i, int j) {
              visit(static_cast<std::size_t>(j) * size.width + i);
              ++count;
            });
  return count;
}

struct Moments {
  std::int64_t count;
  std::int64_t sum;
  std::int64_t squares;
};

// The moments of the window around pixel `at`.
inline Moments windowMoments(const std::vector<std::uint8_t>& plane, Size size, int at,
                             int radius) {
  Moments m{};
  m.count = forWindow(size, at % size.width, at / size.width, radius, [&](std::size_t i) {
    m.sum += plane[i];
    m.squares += plane[i] * plane[i];
  });
  return m;
}

template <int Channels>
using Coefficients = std::array<std::vector<std::int32_t>, Channels + 1>; // a of each channel, b

inline Coefficients<1> guidedCoefficients(const std::vector<std::uint8_t>& guide,
                                          const std::vector<std::uint8_t>& input, Size size,
                                          int radius) {
  Coefficients<1> out;
  forEachPixel(size.width, size.height, [&](int x, int y) {
    std::int64_t sumI = 0;
    std::int64_t sumP = 0;
    std::int64_t sumII = 0;
    std::int64_t sumIp = 0;
    const std::int64_t n = forWindow(size, x, y, radius, [&](std::size_t i) {
      sumI += guide[i];
      sumP += input[i];
      sumII += guide[i] * guide[i];
      sumIp += guide[i] * input[i];
    });
    const std::int64_t variance = sumII / n - (sumI / n) * (sumI / n);
    const std::int64_t a = (sumIp / n - (sumP / n) * (sumI / n)) * 256 / (variance + 10);
    out[0].push_back(static_cast<std::int32_t>(a));
    out[1].push_back(static_cast<std::int32_t>((sumP / n) * 256 - a * (sumI / n)));
  });
  return out;
}

// Of one window: the means of the guide channels and of the input, and the a of each channel.
template <int Guides>
struct WindowFit {
  double mean[Guides + 1] = {};
  double a[Guides] = {};
};

// Solves (Σ + ε · 1) · a = cov(I, p) by elimination; the matrix needs no pivoting.
template <int Guides>
WindowFit<Guides> fitWindow(const std::vector<std::uint8_t>& guide,
                            const std::vector<std::uint8_t>& input, Size size, int x, int y,
                            int radius, int epsilon) {
  WindowFit<Guides> fit;
  double m[Guides][Guides + 1] = {};
  const auto n = static_cast<double>(forWindow(size, x, y, radius, [&](std::size_t i) {
    int values[Guides + 1];
    std::copy_n(guide.data() + Guides * i, Guides, values);
    values[Guides] = input[i];
    for (int c = 0; c <= Guides; ++c) {
      fit.mean[c] += values[c];
      for (int row = 0; row < Guides; ++row)
        m[row][c] += values[row] * values[c];
    }
  }));
  for (double& mean : fit.mean)
    mean /= n;
  for (int row = 0; row < Guides; ++row) {
    for (int c = 0; c <= Guides; ++c)
      m[row][c] = m[row][c] / n - fit.mean[row] * fit.mean[c] + (row == c ? epsilon : 0);
  }
  for (int pivot = 0; pivot < Guides; ++pivot) {
    for (int row = 0; row < Guides; ++row) {
      const double factor = row == pivot ? 0 : m[row][pivot] / m[pivot][pivot];
      for (int c = 0; c <= Guides; ++c)
        m[row][c] -= factor * m[pivot][c];
    }
  }
  for (int row = 0; row < Guides; ++row)
    fit.a[row] = m[row][Guides] / m[row][row];
  return fit;
}

inline Coefficients<3> guidedCoefficients3(const std::vector<std::uint8_t>& guide,
                                           const std::vector<std::uint8_t>& input, Size size,
                                           int radius) {
  Coefficients<3> out;
  forEachPixel(size.width, size.height, [&](int x, int y) {
    const auto fit = fitWindow<3>(guide, input, size, x, y, radius, 10);
    double b = 256 * fit.mean[3];
    for (std::size_t c = 0; c < 3; ++c) {
      out[c].push_back(static_cast<std::int32_t>(256 * fit.a[c]));
      b -= out[c].back() * fit.mean[c];
    }
    out[3].push_back(static_cast<std::int32_t>(b));
  });
  return out;
}

template <int Channels>
std::vector<std::uint8_t> applyCoefficients(const Coefficients<Channels>& coefficients,
                                            const std::vector<std::uint8_t>& guide, Size size,
                                            int radius) {
  std::vector<std::uint8_t> out;
  forEachPixel(size.width, size.height, [&](int x, int y) {
    const std::size_t pixel = out.size();
    std::int64_t sums[Channels + 1] = {};
    const std::int64_t n = forWindow(size, x, y, radius, [&](std::size_t i) {
      for (std::size_t c = 0; c <= Channels; ++c) {
        sums[c] += coefficients[c][i];
      }
    });
    std::int64_t value = sums[Channels] / n;
    for (std::size_t c = 0; c < Channels; ++c) {
      value += sums[c] / n * guide[pixel * Channels + c];
    }
    out.push_back(static_cast<std::uint8_t>(std::clamp<std::int64_t>(value >> 8, 0, 255)));
  });
  return out;
}

} // namespace tlux::reference

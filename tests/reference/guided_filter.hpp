#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "reference/loops.hpp"

// The guided filter as plain formulas: every window is summed on its own. Images are rows end to
// end.
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

// Solves (Σ + 10 · 1) · a = cov(I, p) by elimination; the matrix needs no pivoting.
inline Coefficients<3> guidedCoefficients3(const std::vector<std::uint8_t>& guide,
                                           const std::vector<std::uint8_t>& input, Size size,
                                           int radius) {
  Coefficients<3> out;
  forEachPixel(size.width, size.height, [&](int x, int y) {
    long double mean[4] = {};
    long double m[3][4] = {};
    const auto n = static_cast<long double>(forWindow(size, x, y, radius, [&](std::size_t i) {
      const int values[4] = {guide[3 * i], guide[3 * i + 1], guide[3 * i + 2], input[i]};
      for (int c = 0; c < 4; ++c) {
        mean[c] += values[c];
        for (int row = 0; row < 3; ++row) {
          m[row][c] += values[row] * values[c];
        }
      }
    }));
    for (int row = 0; row < 3; ++row) {
      for (int c = 0; c < 4; ++c) {
        m[row][c] = m[row][c] / n - mean[row] / n * (mean[c] / n) + (row == c ? 10 : 0);
      }
    }
    for (int pivot = 0; pivot < 3; ++pivot) {
      for (int row = 0; row < 3; ++row) {
        const long double factor = row == pivot ? 0 : m[row][pivot] / m[pivot][pivot];
        for (int c = 0; c < 4; ++c) {
          m[row][c] -= factor * m[pivot][c];
        }
      }
    }
    long double b = 256 * mean[3] / n;
    for (int row = 0; row < 3; ++row) {
      const auto a = static_cast<std::int32_t>(256 * m[row][3] / m[row][row]);
      out[static_cast<std::size_t>(row)].push_back(a);
      b -= a * (mean[row] / n);
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

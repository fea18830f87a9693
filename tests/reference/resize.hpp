#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

// The resizers, one sample at a time.
namespace tlux::reference {

// One channel of a plane of bytes, with repeated edges.
struct Channel {
  const std::uint8_t* data;
  int width;
  int height;
  int pitch;
  int step = 1;

  int at(int x, int y) const {
    return data[std::clamp(y, 0, height - 1) * pitch + std::clamp(x, 0, width - 1) * step];
  }
};

inline long floorDiv(long a, long b) {
  return a / b - (a % b < 0 ? 1 : 0);
}

inline int nearest(const Channel& in, int width, int height, int i, int j) {
  const auto index = [](int inputs, int outputs, int k) {
    return static_cast<int>((2L * k + 1) * inputs / (2L * outputs));
  };
  return in.at(index(in.width, width, i), index(in.height, height, j));
}

// A position (k + 1/2)·inputs / outputs - 1/2 as whole samples and a fraction.
struct Position {
  int whole;
  long numerator;
  long denominator;
};

inline Position centred(int inputs, int outputs, int k) {
  const long unit = 2L * outputs;
  const long position = (2L * k + 1) * inputs - outputs;
  const long whole = floorDiv(position, unit);
  return {static_cast<int>(whole), position - whole * unit, unit};
}

// Half the sum plus w - 1/2 of the difference, each rounded down; w in 1/65536.
inline int between(int m, int n, long w) {
  return static_cast<int>(floorDiv(m + n, 2) + floorDiv((n - m) * (w - 32768), 65536));
}

inline int bilinear(const Channel& in, int width, int height, int i, int j) {
  const Position x = centred(in.width, width, i);
  const Position y = centred(in.height, height, j);
  // Positions before the first sample use that sample.
  const long u = x.whole < 0 ? 0 : x.numerator * 65536 / x.denominator;
  const long v = y.whole < 0 ? 0 : y.numerator * 65536 / y.denominator;
  const int x0 = std::max(x.whole, 0);
  const int y0 = std::max(y.whole, 0);
  const auto row = [&](int line) {
    return between(128 * in.at(x0, line), 128 * in.at(x0 + 1, line), u);
  };
  return (between(row(y0), row(y0 + 1), v) + 65) / 128;
}

// Keys' kernel.
inline double keys(double a, double distance) {
  const double d = std::abs(distance);
  if (d <= 1) return ((a + 2) * d - (a + 3)) * d * d + 1;
  return d < 2 ? a * (((d - 5) * d + 8) * d - 4) : 0;
}

// With weights of 1/16384 at positions rounded to 1/1024.
inline int bicubic(const Channel& in, int width, int height, int i, int j,
                   const std::int16_t* table) {
  const auto rounded = [](Position p) {
    const long phase = (2048 * p.numerator + p.denominator) / (2 * p.denominator);
    return phase == 1024 ? Position{p.whole + 1, 0, 1024} : Position{p.whole, phase, 1024};
  };
  const Position x = rounded(centred(in.width, width, i));
  const Position y = rounded(centred(in.height, height, j));
  long sum = 0;
  for (int k = 0; k < 4; ++k) {
    long row = 0;
    for (int l = 0; l < 4; ++l) {
      row += long{table[4 * x.numerator + l]} * in.at(x.whole - 1 + l, y.whole - 1 + k);
    }
    sum += table[4 * y.numerator + k] * floorDiv(row + 128, 256);
  }
  return static_cast<int>(std::clamp(floorDiv(sum + (1 << 19), 1 << 20), 0L, 255L));
}

inline double bicubicExact(const Channel& in, int width, int height, int i, int j, double a) {
  const double x = (i + 0.5) * in.width / width - 0.5;
  const double y = (j + 0.5) * in.height / height - 0.5;
  const int x0 = static_cast<int>(std::floor(x));
  const int y0 = static_cast<int>(std::floor(y));
  double sum = 0;
  for (int k = y0 - 1; k <= y0 + 2; ++k) {
    for (int l = x0 - 1; l <= x0 + 2; ++l) {
      sum += keys(a, y - k) * keys(a, x - l) * in.at(l, k);
    }
  }
  return std::clamp(sum, 0.0, 255.0);
}

// Sample (i, j) of the eightfold enlargement, from the top left sample, rounded down twice.
inline int enlargedByEight(const Channel& in, int i, int j) {
  const auto row = [&](int y) {
    return ((8 - i % 8) * in.at(i / 8, y) + i % 8 * in.at(i / 8 + 1, y)) / 8;
  };
  return ((8 - j % 8) * row(j / 8) + j % 8 * row(j / 8 + 1)) / 8;
}

} // namespace tlux::reference

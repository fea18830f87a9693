#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

#include "reference/loops.hpp"

// The exposure statistics as formulas over whole planes: no reused buffers, no state between rows,
// 64-bit arithmetic narrowed only when a result is stored.
namespace tlux::reference {

struct LogPlane {
  int width = 0;
  int height = 0;
  std::vector<std::int16_t> samples;

  LogPlane() = default;
  LogPlane(int w, int h) : width(w), height(h), samples(static_cast<std::size_t>(w) * h) {}

  std::int16_t& at(int x, int y) { return samples[static_cast<std::size_t>(y) * width + x]; }
  // Edges repeat.
  int at(int x, int y) const {
    const int cx = std::clamp(x, 0, width - 1);
    const int cy = std::clamp(y, 0, height - 1);
    return samples[static_cast<std::size_t>(cy) * width + cx];
  }
};

inline std::int16_t low16(std::int64_t v) {
  return static_cast<std::int16_t>(static_cast<std::uint64_t>(v));
}

inline std::int32_t low32(std::int64_t v) {
  return static_cast<std::int32_t>(static_cast<std::uint64_t>(v));
}

inline std::int32_t truncate32(double v) {
  if (std::isnan(v)) return 0;
  return static_cast<std::int32_t>(std::clamp(v, -2147483648.0, 2147483647.0));
}

inline std::int32_t mean(const LogPlane& plane) {
  if (plane.height == 0 || plane.width == 0) return 0;
  std::int64_t total = 0;
  for (int y = 0; y < plane.height; ++y) {
    std::int64_t sum = 0;
    for (int x = 0; x < plane.width; ++x) {
      sum += plane.at(x, y);
    }
    total += low32(sum) / plane.width;
  }
  return low32(total) / plane.height;
}

// 2×2 means into a plane of half the size, rounded up; `average` is that of the outputs.
inline LogPlane halved(const LogPlane& plane, double& average) {
  LogPlane out((plane.width + 1) / 2, (plane.height + 1) / 2);
  double total = 0;
  forEachPixel(out.width, out.height, [&](int x, int y) {
    // The last column of an odd width averages the last two.
    const int left = 2 * x == plane.width - 1 ? 2 * x - 1 : 2 * x;
    const int sum = plane.at(left, 2 * y) + plane.at(left + 1, 2 * y) + plane.at(left, 2 * y + 1) +
                    plane.at(left + 1, 2 * y + 1);
    out.at(x, y) = low16(static_cast<std::int64_t>(std::floor(sum / 4.0)));
    total += out.at(x, y);
  });
  average = total / (static_cast<double>(out.width) * out.height);
  return out;
}

inline LogPlane smoothed(const LogPlane& plane) {
  LogPlane down(plane.width, plane.height);
  LogPlane across(plane.width, plane.height);
  const auto& in = plane;
  forEachPixel(plane.width, plane.height, [&](int x, int y) {
    down.at(x, y) = low16((in.at(x, y - 1) + 2 * in.at(x, y) + in.at(x, y + 1)) >> 2);
  });
  const auto& middle = down;
  forEachPixel(plane.width, plane.height, [&](int x, int y) {
    across.at(x, y) = low16((middle.at(x - 1, y) + 2 * middle.at(x, y) + middle.at(x + 1, y)) >> 2);
  });
  return across;
}

// The sample at position `i` of a line doubled by (−1 9 25 −1) / 32.
template <class At>
int doubledAt(int i, At&& at) {
  const int k = i / 2;
  return i % 2 == 0 ? (-at(k - 2) + 9 * at(k - 1) + 25 * at(k) - at(k + 1)) >> 5
                    : (-at(k - 1) + 25 * at(k) + 9 * at(k + 1) - at(k + 2)) >> 5;
}

inline LogPlane smoothDoubleBlend(const LogPlane& small, const LogPlane& large,
                                  double enlargedWeight, double largeWeight) {
  const LogPlane smooth = smoothed(small);
  LogPlane tall(small.width, large.height);
  forEachPixel(tall.width, tall.height, [&](int x, int y) {
    tall.at(x, y) = low16(doubledAt(y, [&](int k) { return smooth.at(x, k); }));
  });
  const LogPlane& columns = tall;
  const std::int64_t a = truncate32(enlargedWeight * 256 + 0.5);
  const std::int64_t b = truncate32(largeWeight * 256 + 0.5);
  const int computed = std::min(2 * small.width, large.width);
  LogPlane out(large.width, large.height);
  forEachPixel(out.width, out.height, [&](int x, int y) {
    const int column = std::min(x, computed - 1);
    const int enlarged = doubledAt(column, [&](int k) { return columns.at(k, y); });
    out.at(x, y) = low16(low32(low32(large.at(column, y) * b) + enlarged * a) >> 8);
  });
  return out;
}

struct Statistics {
  std::int32_t mean = 0;
  std::int32_t minimum = 0;
  std::int32_t maximum = 0;
};

// Nothing if the scratch is too short. A plane of one row or column is its own base.
inline std::optional<LogPlane> pyramidBase(const LogPlane& source, std::int64_t scratch,
                                           Statistics* statistics = nullptr) {
  std::vector<LogPlane> levels{source};
  std::vector<double> means{0};
  std::optional<Statistics> measured;
  const auto samplesOf = [](const LogPlane& p) { return std::int64_t{p.width} * p.height; };
  while (levels.back().width > 1 && levels.back().height > 1) {
    means.push_back(0);
    levels.push_back(halved(levels.back(), means.back()));
    const LogPlane& level = levels.back();
    scratch -= samplesOf(level);
    if (scratch < 0) return {};
    if (level.width <= 200 && !measured) {
      const auto [low, high] = std::minmax_element(level.samples.begin(), level.samples.end());
      measured = Statistics{mean(level), *low, *high};
    }
  }
  if (levels.size() > 1) {
    const int target = mean(source);
    const double factor = target / means.back();
    for (std::int16_t& sample : levels.back().samples) {
      sample = low16(truncate32(sample * factor + 0.5));
    }
    double decay = 1;
    for (std::size_t i = levels.size() - 1; i > 0; --i) {
      if (scratch < 6 * (std::int64_t{levels[i].width} + 4)) return {};
      scratch += samplesOf(levels[i]);
      const double own = 0.9 * decay;
      const double scaled = i == 1 ? own : own * target / means[i - 1];
      levels[i - 1] = smoothDoubleBlend(levels[i], levels[i - 1], 1 - own, scaled);
      decay *= 0.65;
    }
  }
  if (statistics != nullptr) *statistics = measured.value_or(Statistics{});
  return levels.front();
}

// D is an unsigned index here, as in the library.
inline std::uint16_t score(std::int16_t l, std::int16_t b, std::int64_t reciprocal,
                           std::int32_t contrast) {
  const std::int32_t detail = low32(std::int64_t{l - b} * contrast) >> 4;
  return static_cast<std::uint16_t>((low32(detail * reciprocal) >> 15) - l);
}

} // namespace tlux::reference

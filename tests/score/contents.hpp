#pragma once

#include "reference/statistics.hpp"
#include "support/random.hpp"

namespace tlux::test {

enum class Content { kUniform, kGradient, kNoise, kExtremes, kSpot };

inline constexpr Content kContents[] = {Content::kUniform, Content::kGradient, Content::kNoise,
                                        Content::kExtremes, Content::kSpot};

// A plane of samples in [low, high].
inline reference::LogPlane makePlane(Content content, int width, int height, int low, int high,
                                     std::uint32_t seed = 1) {
  Random random(seed);
  reference::LogPlane plane(width, height);
  const int uniform = random.intBetween(low, high);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      int value = uniform;
      if (content == Content::kGradient) {
        value = low + static_cast<int>(std::int64_t{high - low} * (x + y) / (width + height));
      }
      if (content == Content::kNoise) value = random.intBetween(low, high);
      if (content == Content::kExtremes) value = random.bits() % 2 == 0 ? low : high;
      if (content == Content::kSpot) value = x == width / 2 && y == height / 3 ? high : low;
      plane.at(x, y) = static_cast<std::int16_t>(value);
    }
  }
  return plane;
}

} // namespace tlux::test

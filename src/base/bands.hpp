#pragma once

#include <cstdint>

namespace tlux {

// Threaded operations split their rows into four bands. The split is part of what they compute:
// some kernels treat the edges of a band differently from its inside.
inline constexpr int kBandCount = 4;

struct Band {
  std::int32_t first;
  std::int32_t end; // exclusive
};

// Rows per band. For a height of 4n + 1 the last row belongs to no band; intended.
constexpr std::int32_t bandHeight(std::int32_t height) {
  return (height + height % kBandCount) / kBandCount;
}

constexpr Band bandOf(int index, std::int32_t height) {
  const std::int32_t rows = bandHeight(height);
  const std::int32_t first = index * rows;
  const std::int32_t end = first + rows;
  return {first, end < height ? end : height};
}

} // namespace tlux

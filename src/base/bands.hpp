#pragma once

#include <cstdint>

namespace tlux::detail {

// Threaded operations split their rows into four bands. The split is part of the result: some
// kernels treat the edges of a band differently from its inside.
inline constexpr int kBandCount = 4;

struct Band {
  std::int32_t first;
  std::int32_t end; // exclusive
};

// Rows per band. For a height of 4n + 1 the last row belongs to no band; intended.
constexpr std::int32_t bandHeight(std::int32_t height) {
  return static_cast<std::int32_t>((std::int64_t{height} + height % kBandCount) / kBandCount);
}

} // namespace tlux::detail

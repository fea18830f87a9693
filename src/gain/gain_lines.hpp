#pragma once

#include <algorithm>
#include <cstdint>

namespace tlux::detail {

// The parameters in which the line expanders differ.
struct LineShape {
  int step;        // pixels per coarse gain and rows per coarse row, a power of two
  int slack;       // gains by which a slot of the line buffer is longer than a row
  bool hasRollOff; // draws gains towards unity in highlights
};

inline constexpr LineShape kLineOf8{8, 8, false};
inline constexpr LineShape kLineOf4{4, 0, true};

// Samples that give the brightness of the picture at each coarse gain; data may be null.
struct BrightnessRow {
  const std::uint16_t* data = nullptr;
  std::int32_t stride = 0;
  std::int32_t shift = 0;
};

// One row of coarse gains.
struct CoarseGains {
  const std::uint16_t* data;
  std::int32_t count; // at least 1; pixels after the last gain repeat it
  const std::uint16_t* mapping;
  BrightnessRow brightness;
};

// Coarse gains in a row of `width` pixels unless the caller gives another count.
constexpr std::int32_t coarseCount(LineShape shape, std::int32_t width) {
  return std::max(width / shape.step, 1);
}

// Writes the gains of row `row` of a band to the first of the three slots of `lines`.
template <LineShape kShape>
void expandGainLine(std::int32_t row, std::int32_t width, const CoarseGains& gains,
                    std::uint16_t* lines);

} // namespace tlux::detail

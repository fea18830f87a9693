#pragma once

#include <algorithm>
#include <cstdint>

namespace tlux::detail {

// How one member of the line expanders lays out its work.
struct LineShape {
  int step;        // pixels per coarse gain and rows per coarse row, a power of two
  int slack;       // gains by which a slot of the line buffer is longer than a row
  bool hasRollOff; // draws gains towards unity in highlights
};

inline constexpr LineShape kLineOf8{8, 8, false};
inline constexpr LineShape kLineOf4{4, 0, true};

// Samples that say how bright the picture is at each coarse gain; data may be null.
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

// Coarse gains that a row of `width` pixels has when nothing else says so.
constexpr std::int32_t coarseCount(LineShape shape, std::int32_t width) {
  return std::max(width / shape.step, 1);
}

// Makes the gains of row `row` of a band in the first of the three slots of `lines`.
template <LineShape kShape>
void expandGainLine(std::int32_t row, std::int32_t width, const CoarseGains& gains,
                    std::uint16_t* lines);

} // namespace tlux::detail

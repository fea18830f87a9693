#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "tlux/image.h"

// The chroma rule from its formula, sample by sample.
namespace tlux::reference {

inline int chromaRatio(int oldSum, int newSum) {
  return oldSum == 0 ? 1024 : newSum * 1024 / oldSum;
}

inline std::uint8_t scaleChromaSample(int chroma, int ratio, int zone = 8) {
  const int distance = std::abs(chroma - 128);
  int scaled = ((ratio * (chroma - 128)) >> 10) + 128;
  if (distance < zone) scaled = (chroma * (zone - distance) + scaled * distance) / zone;
  return static_cast<std::uint8_t>(std::clamp(scaled, 0, 255));
}

// Scales the pair of chroma bytes at `chroma` by the pair of luma bytes at `luma`, unless any of
// them lies past the end of a plane.
inline void scaleChromaPair(const TLUX_IMAGE& source, const TLUX_IMAGE& output,
                            std::int64_t sourceLuma, std::int64_t outputLuma,
                            std::int64_t sourceChroma, std::int64_t outputChroma) {
  const auto holds = [](const TLUX_IMAGE& image, int plane, std::int64_t offset) {
    const std::int64_t rows = plane == 0 ? image.height : image.height / 2;
    return offset + 2 <= image.pitch[plane] * rows;
  };
  if (!holds(source, 0, sourceLuma) || !holds(output, 0, outputLuma) ||
      !holds(source, 1, sourceChroma) || !holds(output, 1, outputChroma)) {
    return;
  }
  const std::uint8_t* oldLuma = source.plane[0] + sourceLuma;
  const std::uint8_t* newLuma = output.plane[0] + outputLuma;
  const int ratio = chromaRatio(oldLuma[0] + oldLuma[1], newLuma[0] + newLuma[1]);
  for (int i = 0; i < 2; ++i) {
    output.plane[1][outputChroma + i] = scaleChromaSample(source.plane[1][sourceChroma + i], ratio);
  }
}

// Chroma of a whole frame. Equal pitches: the luma walk advances by the width rounded up to four
// and one pitch per chroma row, the chroma walk by the rounded width. Otherwise every plane is
// walked by its pitch, and no row beyond the shortest of them.
inline void scaleChroma(const TLUX_IMAGE& source, const TLUX_IMAGE& output) {
  const bool samePitch = source.pitch[0] == output.pitch[0] && source.pitch[1] == output.pitch[1];
  const std::int64_t rounded = (std::int64_t{output.width} + 3) / 4 * 4;
  for (std::int64_t j = 0; j < output.height / 2; ++j) {
    for (std::int64_t x = 0; x < rounded; x += 2) {
      if (samePitch) {
        const std::int64_t luma = j * (rounded + source.pitch[0]) + x;
        scaleChromaPair(source, output, luma, luma, j * rounded + x, j * rounded + x);
      } else if (x + 2 <=
                 std::min({source.pitch[0], source.pitch[1], output.pitch[0], output.pitch[1]})) {
        scaleChromaPair(source, output, 2 * j * source.pitch[0] + x, 2 * j * output.pitch[0] + x,
                        j * source.pitch[1] + x, j * output.pitch[1] + x);
      }
    }
  }
}

} // namespace tlux::reference

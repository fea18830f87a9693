#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "reference/chroma.hpp"
#include "reference/guided_filter_fast.hpp"
#include "reference/map.hpp"
#include "reference/mark.hpp"
#include "reference/resample.hpp"
#include "reference/retinex.hpp"
#include "tlux/transfer.h"

// A whole run, step by step from the formulas, in one thread.
namespace tlux::reference {

// Luma of the source reduced by 8: nine samples of each block, three columns and rows apart.
inline std::vector<std::uint8_t> reducedLuma(const TLUX_IMAGE& source, int width, int height) {
  return mapPixels(width, height, [&](int x, int y) {
    return meanOver({0, 3, 6}, {0, 3, 6}, [&](int dx, int dy) {
      return source.plane[0][std::ptrdiff_t{8 * y + dy} * source.pitch[0] + 8 * x + dx];
    });
  });
}

inline std::vector<std::uint8_t> mappedLuma(const std::vector<std::uint8_t>& reference, int width,
                                            int height, std::uint32_t strength) {
  std::vector<std::int16_t> linear;
  for (const std::uint8_t code : reference) {
    linear.push_back(static_cast<std::int16_t>(TLUX_Degamma_Table[code]));
  }
  const auto scores = retinexScore(linear, width, height);
  const auto& gains = gainTable(strength);
  std::vector<std::uint8_t> mapped;
  for (std::size_t i = 0; i < reference.size(); ++i) {
    mapped.push_back(mapLuma(reference[i], gains[static_cast<std::uint16_t>(scores[i])]));
  }
  return mapped;
}

inline void copyFrame(const TLUX_IMAGE& source, const TLUX_IMAGE& output) {
  for (int plane = 0; plane < 2; ++plane) {
    for (int y = 0; y < source.height >> plane; ++y) {
      std::memcpy(output.plane[plane] + std::ptrdiff_t{y} * output.pitch[plane],
                  source.plane[plane] + std::ptrdiff_t{y} * source.pitch[plane],
                  static_cast<std::size_t>(source.width));
    }
  }
}

// Luma and chroma of the whole blocks of 16.
inline void toneFrame(const TLUX_IMAGE& source, const TLUX_IMAGE& output, std::uint32_t strength) {
  const int width = source.width / 16 * 2;
  const int height = source.height / 16 * 2;
  if (width == 0 || height == 0) return;
  const auto reference = reducedLuma(source, width, height);
  const auto mapped = mappedLuma(reference, width, height, strength);
  fastGuidedFilter(mapped.data(), reference.data(), source.plane[0], output.plane[0], width, height,
                   width, source.pitch[0], output.pitch[0], 16, 20);
  scaleChroma(source, output);
}

inline void markFrame(const TLUX_IMAGE& output) {
  const int k = markFactor(output.width, output.height);
  if (output.width >= 122 * k && output.height >= 42 * k) embedMark(output);
}

// For frames that a run accepts.
inline void optimizeFrame(const TLUX_IMAGE& source, const TLUX_IMAGE& output,
                          std::uint32_t strength) {
  if (source.format == output.format && source.width == output.width &&
      source.height == output.height) {
    copyFrame(source, output);
  }
  toneFrame(source, output, strength);
  markFrame(output);
}

// A frame extended to the next multiple of 16 by its last column and row, then cropped again.
inline void optimizeContinued(const TLUX_IMAGE& source, const TLUX_IMAGE& output,
                              std::uint32_t strength) {
  const int width = (source.width + 15) / 16 * 16;
  const int height = (source.height + 15) / 16 * 16;
  std::vector<std::uint8_t> before[2];
  std::vector<std::uint8_t> after[2];
  TLUX_IMAGE whole = {source.format, width, height, {}, {width, width}};
  TLUX_IMAGE toned = whole;
  for (int plane = 0; plane < 2; ++plane) {
    const int step = plane + 1; // of one sample
    before[plane] = mapPixels(width, height >> plane, [&](int x, int y) {
      const int row = std::min(y, (source.height >> plane) - 1);
      const int column = x < source.width ? x : source.width - step + x % step;
      return source.plane[plane][std::ptrdiff_t{row} * source.pitch[plane] + column];
    });
    after[plane] = before[plane];
    whole.plane[plane] = before[plane].data();
    toned.plane[plane] = after[plane].data();
  }
  toneFrame(whole, toned, strength);
  toned.width = source.width;
  toned.height = source.height;
  copyFrame(toned, output);
  markFrame(output);
}

} // namespace tlux::reference

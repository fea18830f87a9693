#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "reference/loops.hpp"
#include "tlux/mark.h"

// The output mark, sample by sample.
namespace tlux::reference {

inline int markFactor(int width, int height) {
  const int shorter = std::min(width, height);
  const int longer = std::max(width, height);
  return std::clamp(std::max((shorter + 225) / 450, (longer + 400) / 800), 1, 8);
}

enum class Sample { kLuma, kCb, kCr };

// The byte of a sample at a position of its own grid.
inline std::uint8_t& sampleOf(const TLUX_IMAGE& image, Sample which, int row, int column) {
  const auto byte = [&image, row](int plane, int offset) -> std::uint8_t& {
    return image.plane[plane][std::ptrdiff_t{row} * image.pitch[plane] + offset];
  };
  const int cr = which == Sample::kCr ? 1 : 0;
  switch (image.format) {
    case TLUX_FMT_CBYCRY:
      return byte(0, which == Sample::kLuma ? 2 * column + 1 : 4 * column + 2 * cr);
    case TLUX_FMT_YCBCR420_YPUV:
      return which == Sample::kLuma ? byte(0, column) : byte(1, 2 * column + cr);
    case TLUX_FMT_YCBCR420_YPVU:
      return which == Sample::kLuma ? byte(0, column) : byte(1, 2 * column + 1 - cr);
    default:
      return which == Sample::kLuma ? byte(0, column) : byte(1 + cr, column);
  }
}

// For images of a supported format that are large enough for the mark.
inline void embedMark(const TLUX_IMAGE& image) {
  const int k = markFactor(image.width, image.height);
  const int top = image.height - 42 * k;
  const int left = (image.width - 122 * k) / 2 * 2;
  const int chromaRows =
      image.format == TLUX_FMT_YCBCR422_P || image.format == TLUX_FMT_CBYCRY ? 1 : 2;
  const auto table = [k](const std::uint8_t* plane, int i, int j) {
    return int{plane[i / k * TLUX_MARK_WIDTH + j / k]};
  };
  const auto blend = [](std::uint8_t& frame, int mark, int alpha) {
    frame = static_cast<std::uint8_t>(((255 - alpha) * frame + alpha * mark) / 255);
  };
  forEachPixel(TLUX_MARK_WIDTH * k, TLUX_MARK_HEIGHT * k, [&](int j, int i) {
    blend(sampleOf(image, Sample::kLuma, top + i, left + j), table(gTolMarkDataY, i, j),
          table(gTolMarkDataA, i, j));
  });
  for (int i = 0; i < TLUX_MARK_HEIGHT * k; i += chromaRows) {
    for (int j = 0; j < TLUX_MARK_WIDTH * k; j += 2) {
      const auto mean = [&](const std::uint8_t* plane) {
        int sum = 0;
        for (int dy = 0; dy < chromaRows; ++dy) {
          sum += table(plane, i + dy, j) + table(plane, i + dy, j + 1);
        }
        return sum / (2 * chromaRows);
      };
      const int row = top / chromaRows + i / chromaRows;
      const int column = left / 2 + j / 2;
      blend(sampleOf(image, Sample::kCb, row, column), mean(gTolMarkDataU), mean(gTolMarkDataA));
      blend(sampleOf(image, Sample::kCr, row, column), mean(gTolMarkDataV), mean(gTolMarkDataA));
    }
  }
}

} // namespace tlux::reference

#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "reference/loops.hpp"
#include "tlux/resample.h"

// The reductions sample by sample, one output at a time.
namespace tlux::reference {

struct Reduced {
  int width;
  int height;
  std::array<std::vector<std::uint8_t>, 3> planes;

  Reduced(int w, int h) : width(w), height(h) {
    for (auto& plane : planes) {
      plane.resize(static_cast<std::size_t>(w) * static_cast<std::size_t>(h));
    }
  }
  std::uint8_t& at(int plane, int x, int y) {
    return planes[static_cast<std::size_t>(plane)][static_cast<std::size_t>(y * width + x)];
  }
};

struct Source {
  std::uint32_t format;
  const TLUX_IMAGE& image;
  TLUX_CROP_RECT crop;

  bool isPacked() const { return format == TLUX_FMT_YCBYCR || format == TLUX_FMT_BAYER; }
  bool isSemiPlanar() const { return (format >> 8) == 8; }
  bool is420() const {
    return format == TLUX_FMT_YCBCR420_P || format == TLUX_FMT_YCBCR420_YPUV ||
           format == TLUX_FMT_YCBCR420_YPVU;
  }
  int byte(int plane, int row, int at) const {
    return image.plane[plane][static_cast<std::ptrdiff_t>(row) * image.pitch[plane] + at];
  }
  // Offsets from the corner of the rectangle.
  int luma(int x, int y) const {
    return byte(0, crop.top + y, isPacked() ? 2 * (crop.left + x) : crop.left + x);
  }
  // Component 0 is Cb, 1 is Cr; a chroma row and column of the image.
  int chroma(int component, int column, int row) const {
    if (isSemiPlanar()) {
      const int swapped = format == TLUX_FMT_YCBCR420_YPVU ? 1 - component : component;
      return byte(1, row, 2 * column + swapped);
    }
    return byte(1 + component, row, column);
  }
  // Chroma that belongs to the luma at these offsets from the corner.
  int chromaAt(int component, int x, int y) const {
    if (isPacked()) {
      // A row of odd length ends in half a group, without Cr: that of the group before.
      const bool isMissing = component == 1 && crop.left + (x | 1) >= image.width;
      const int group = isMissing ? x / 2 - 1 : x / 2;
      return byte(0, crop.top + y, 2 * crop.left + group * 4 + 1 + 2 * component);
    }
    const int column = std::min((crop.left + x) / 2, image.width / 2 - 1);
    const int row = is420() ? std::min((crop.top + y) / 2, image.height / 2 - 1) : crop.top + y;
    return chroma(component, column, row);
  }
};

inline std::vector<int> columnsOf(int factor) {
  static const std::vector<int> kColumns[] = {{0, 1},    {0, 2},       {0, 2, 4},    {0, 3, 6},
                                              {0, 4, 8}, {0, 3, 6, 9}, {0, 4, 8, 12}};
  return kColumns[std::min((factor - 1) / 2, 6)];
}

inline std::vector<int> rowsOf(int factor) {
  if (factor <= 10) return columnsOf(factor);
  return factor <= 12 ? std::vector{0, 5, 10} : std::vector{0, 6, 12};
}

inline std::uint8_t truncatedMean(std::uint32_t sum, std::size_t samples) {
  switch (samples) {
    case 9:
      return static_cast<std::uint8_t>(sum * 116508U >> 20);
    case 12:
      return static_cast<std::uint8_t>(sum * 87381U >> 20);
    default:
      return static_cast<std::uint8_t>(sum / samples);
  }
}

template <class Sample>
std::uint8_t meanOver(const std::vector<int>& rows, const std::vector<int>& columns,
                      Sample sample) {
  std::uint32_t sum = 0;
  for (const int y : rows) {
    for (const int x : columns)
      sum += static_cast<std::uint32_t>(sample(x, y));
  }
  return truncatedMean(sum, rows.size() * columns.size());
}

inline Reduced reduce(const Source& source, int factor) {
  Reduced out((source.crop.right - source.crop.left + 1) / factor,
              (source.crop.bottom - source.crop.top + 1) / factor);
  const auto rows = rowsOf(factor);
  const auto columns = columnsOf(factor);
  const bool eighthOf420Pairs = factor == 8 && source.isSemiPlanar() && source.is420();

  const auto mean = [&](auto sample) {
    if (factor == 3 && source.isPacked()) {
      const int a = (sample(0, 0) + sample(2, 0) + sample(0, 1) + sample(2, 1)) / 4;
      const int b = (sample(0, 2) + sample(2, 2)) / 2;
      return static_cast<std::uint8_t>((2 * a + b) * 349526 >> 20);
    }
    return meanOver(rows, columns, sample);
  };
  forEachPixel(out.width, out.height, [&](int i, int j) {
    const int x0 = factor * i;
    const int y0 = factor * j;
    out.at(0, i, j) = mean([&](int x, int y) { return source.luma(x0 + x, y0 + y); });
    for (int component = 0; component < 2; ++component) {
      if (eighthOf420Pairs) {
        // The second byte of each pair always goes to plane 1.
        out.at(1 + component, i, j) = meanOver({0, 3, 6}, {0, 1, 3}, [&](int pair, int y) {
          return source.byte(1, (source.crop.top + y0 + y) / 2,
                             source.crop.left / 2 * 2 + 8 * i + 2 * pair + 1 - component);
        });
      } else if (factor == 2) {
        // One chroma column, and in 4:2:0 one row, at the corner of the block.
        const int top = source.chromaAt(component, x0, y0);
        const int bottom = source.is420() ? top : source.chromaAt(component, x0, y0 + 1);
        out.at(1 + component, i, j) = static_cast<std::uint8_t>((top + bottom) / 2);
      } else {
        out.at(1 + component, i, j) =
            mean([&](int x, int y) { return source.chromaAt(component, x0 + x, y0 + y); });
      }
    }
  });
  return out;
}

inline Reduced widen(const Source& source) {
  const TLUX_CROP_RECT& crop = source.crop;
  Reduced out((crop.right - crop.left + 1) / 2 * 2, (crop.bottom - crop.top + 1) / 2 * 2);
  forEachPixel(out.width, out.height, [&](int i, int j) {
    const auto pair = [&](int component, int k) {
      if (source.isPacked()) {
        const int group = 2 * crop.left + 4 * (crop.left < 2 ? std::max(k, 0) : k);
        return source.byte(0, crop.top + j, group + 1 + 2 * component);
      }
      const int row = source.is420() ? crop.top / 2 + j / 2 : crop.top + j;
      return source.chroma(component, crop.left / 2 + k, row);
    };
    const auto between = [&](int component) {
      return (pair(component, i / 2) + pair(component, i / 2 - 1)) / 2;
    };
    const bool odd = i % 2 != 0;
    out.at(0, i, j) = static_cast<std::uint8_t>(source.luma(i, j));
    out.at(1, i, j) = static_cast<std::uint8_t>(odd ? between(0) : pair(0, i / 2));
    out.at(2, i, j) = static_cast<std::uint8_t>(odd ? pair(1, i / 2) : between(1));
  });
  return out;
}

inline Reduced reduceByFourThirds(const Source& source) {
  Reduced out((source.crop.right - source.crop.left + 1) / 4 * 3,
              (source.crop.bottom - source.crop.top + 1) / 4 * 3);
  forEachPixel(out.width, out.height, [&](int i, int j) {
    for (int plane = 0; plane < 3; ++plane) {
      out.at(plane, i, j) = meanOver({0, 1}, {0, 1}, [&](int dx, int dy) {
        const int x = i / 3 * 4 + i % 3 + dx;
        const int y = j / 3 * 4 + j % 3 + dy;
        return plane == 0 ? source.luma(x, y) : source.chromaAt(plane - 1, x, y);
      });
    }
  });
  return out;
}

// `pattern` is the colours of the sites (0,0), (0,1), (1,0), (1,1) of the image's 2×2 cells.
inline Reduced reduceRawByEight(const Source& source, const char (&pattern)[5]) {
  const TLUX_CROP_RECT& crop = source.crop;
  Reduced out((crop.right - crop.left + 1) / 8, (crop.bottom - crop.top + 1) / 8);
  // The first green of a cell is that of its first pattern row.
  const auto isWanted = [&](int x, int y, char colour) {
    return pattern[(y & 1) * 2 + (x & 1)] == colour && (colour != 'G' || y % 2 == 0);
  };
  forEachPixel(out.width, out.height, [&](int i, int j) {
    std::uint64_t sums[3] = {};
    forEachPixel(8, 8, [&](int dx, int dy) {
      if (dx / 2 == 2 || dy / 2 == 2) return; // cells that are skipped
      const int x = crop.left + 8 * i + dx;
      const int y = crop.top + 8 * j + dy;
      const int sample = source.byte(0, y, 2 * x) | source.byte(0, y, 2 * x + 1) << 8;
      for (int plane = 0; plane < 3; ++plane)
        sums[plane] += isWanted(x, y, "GBR"[plane]) ? sample : 0;
    });
    for (int plane = 0; plane < 3; ++plane)
      out.at(plane, i, j) = static_cast<std::uint8_t>((sums[plane] * 116508 >> 20) >> 8);
  });
  return out;
}

inline std::array<std::uint8_t, 3> ycbcr(int b, int g, int r) {
  const int y = (4899 * r + 9617 * g + 1868 * b + 8192) >> 14;
  const int cb = (((b - y) * 9241 + 8192) >> 14) + 128;
  const int cr = (((r - y) * 11682 + 8192) >> 14) + 128;
  return {static_cast<std::uint8_t>(y), static_cast<std::uint8_t>(std::clamp(cb, 0, 255)),
          static_cast<std::uint8_t>(std::clamp(cr, 0, 255))};
}

} // namespace tlux::reference

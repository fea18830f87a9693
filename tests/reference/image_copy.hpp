#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "reference/loops.hpp"
#include "tlux/image.h"

namespace tlux::reference {

// An image as seen by the copy rules, and those rules byte by byte.
struct Picture {
  struct PlaneBytes {
    std::vector<std::uint8_t> bytes;
    int pitch = 0;
  };
  std::uint32_t format;
  int width;
  int height;
  PlaneBytes planes[3];
};

class PictureCopy {
 public:
  PictureCopy(Picture& to, TLUX_RECT toRect, const Picture& from, TLUX_RECT fromRect)
      : to_(to),
        from_(from),
        w_(toRect.right - toRect.left),
        h_(toRect.bottom - toRect.top),
        dx_(toRect.left),
        dy_(toRect.top),
        sx_(fromRect.left),
        sy_(fromRect.top) {}

  void plain() const {
    pixels();
    const auto [planes, halvesColumns, halvesRows] = chroma();
    const int rows = h_ >> halvesRows;
    for (int plane = 1; plane < planes; ++plane) {
      int fromX = sx_ >> halvesColumns;
      int fromY = sy_ >> halvesRows;
      if (plane == 1 && halvesColumns && halvesRows) { // half a row low from odd rows
        fromX += sy_ * from_.planes[1].pitch / 2;
        fromY = 0;
      }
      move(plane, w_ >> halvesColumns, rows, dx_ >> halvesColumns, dy_ >> halvesRows, fromX, fromY);
    }
  }

  void oddRect() const {
    if (to_.format >> 8 == 5) {
      packedPairs();
      return;
    }
    pixels();
    const auto [planes, halvesColumns, halvesRows] = chroma();
    const int rows = halvesRows ? (h_ - dy_ % 2) / 2 : h_;
    const int columns = halvesColumns ? (w_ - dx_ % 2) / 2 : w_;
    const int x = halvesColumns ? (dx_ + 1) / 2 : dx_;
    const int y = halvesRows ? (dy_ + 1) / 2 : dy_;
    if (planes == 2) interleavedPairs(rows, y, sy_ >> halvesRows);
    for (int plane = 1; planes == 3 && plane < 3; ++plane)
      move(plane, columns, rows, x, y, sx_ >> halvesColumns, sy_ >> halvesRows);
  }

 private:
  struct Chroma {
    int planes; // 2: pairs as wide as luma
    bool halvesColumns;
    bool halvesRows;
  };

  Chroma chroma() const {
    const std::uint32_t f = to_.format;
    const std::uint32_t member = (f - 1) & 3;
    if (f >= TLUX_FMT_YCBCR420_P && f <= TLUX_FMT_YCBCR444_P_B) {
      return {3, member % 2 == 0, member < 2};
    }
    if (f >= TLUX_FMT_YCBCR420_YPUV && f <= TLUX_FMT_YCBCR422_YPUV) return {2, false, member < 2};
    return {1, false, false};
  }

  void pixels() const {
    const std::uint32_t family = to_.format >> 8;
    const int copied = family == 3 || family == 4 ? 3 : (family == 5 ? 2 : 1);
    const int pixelBytes = family == 3 && to_.format % 2 == 0 ? 4 : copied;
    move(0, copied * w_, h_, pixelBytes * dx_, dy_, pixelBytes * sx_, sy_);
  }

  void move(int plane, int bytes, int rows, int toX, int toY, int fromX, int fromY) const {
    forEachPixel(bytes, rows, [&](int i, int r) {
      target(plane, toX + i, toY + r) = source(plane, fromX + i, fromY + r, 2);
    });
  }

  void interleavedPairs(int rows, int toY, int fromY) const {
    const bool exchanged = dx_ % 2 != 0 && sx_ % 2 == 0;
    const bool shifted = dx_ % 2 == 0 && sx_ % 2 != 0;
    forEachPixel(w_, rows, [&](int k, int r) {
      const int from = exchanged ? (k % 2 == 0 ? k + 1 : k - 1) : (shifted ? k - 1 : k);
      target(1, dx_ + k, toY + r) = source(1, sx_ + from, fromY + r, 2);
    });
  }

  void packedPairs() const {
    const bool exchanged = dx_ % 2 != 0 && sx_ % 2 == 0;
    const bool shifted = dx_ % 2 == 0 && sx_ % 2 != 0;
    const bool lumaFirst = to_.format == TLUX_FMT_YCBYCR || to_.format == TLUX_FMT_YCBYCR_2;
    static constexpr int kExchanged[2][4] = {{2, 1, 0, 3}, {0, 3, 2, 1}};
    static constexpr int kShifted[2][4] = {{-2, 1, 0, 3}, {0, -1, 2, 1}};
    static constexpr int kStraight[4] = {0, 1, 2, 3};
    const int* order =
        exchanged ? kExchanged[lumaFirst] : (shifted ? kShifted[lumaFirst] : kStraight);
    forEachPixel(2 * w_, h_, [&](int k, int r) {
      target(0, 2 * dx_ + k, dy_ + r) = source(0, 2 * sx_ + k / 4 * 4 + order[k % 4], sy_ + r, 4);
    });
  }

  std::uint8_t& target(int plane, int x, int y) const {
    auto& p = to_.planes[plane];
    return p.bytes.at(static_cast<std::size_t>(y * p.pitch + x));
  }

  // A byte past the plane is that of the previous pair, or the other component if there is no pair.
  std::uint8_t source(int plane, int x, int y, int pairBytes) const {
    const auto& p = from_.planes[plane];
    int at = y * p.pitch + x;
    if (at >= static_cast<int>(p.bytes.size())) at -= x >= pairBytes ? pairBytes : pairBytes / 2;
    return p.bytes.at(static_cast<std::size_t>(at));
  }

  Picture& to_;
  const Picture& from_;
  int w_, h_, dx_, dy_, sx_, sy_;
};

} // namespace tlux::reference

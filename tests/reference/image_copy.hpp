#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tlux/image.h"

namespace tlux::reference {

// An image as the copy rules see it, and those rules a byte at a time.
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
    switch (to_.format) {
      case TLUX_FMT_YCBCR420_P:
      case TLUX_FMT_YCBCR420_P_B:
        move(1, w_ >> 1, h_ >> 1, dx_ / 2, dy_ / 2, sx_ / 2 + sy_ * from_.planes[1].pitch / 2, 0);
        move(2, w_ >> 1, h_ >> 1, dx_ / 2, dy_ / 2, sx_ / 2, sy_ / 2);
        break;
      case TLUX_FMT_YCBCR440_P:
      case TLUX_FMT_YCBCR440_P_B:
        both(w_, h_ >> 1, dx_, dy_ / 2, sx_, sy_ / 2);
        break;
      case TLUX_FMT_YCBCR422_P:
      case TLUX_FMT_YCBCR422_P_B:
        both(w_ >> 1, h_, dx_ / 2, dy_, sx_ / 2, sy_);
        break;
      case TLUX_FMT_YCBCR444_P:
      case TLUX_FMT_YCBCR444_P_B:
        both(w_, h_, dx_, dy_, sx_, sy_);
        break;
      case TLUX_FMT_YCBCR420_YPUV:
      case TLUX_FMT_YCBCR420_YPVU:
        move(1, w_, h_ >> 1, dx_, dy_ / 2, sx_, sy_ / 2);
        break;
      case TLUX_FMT_YCBCR422_YPUV:
        move(1, w_, h_, dx_, dy_, sx_, sy_);
        break;
      default:
        break;
    }
  }

  void oddRect() const {
    const bool packed = to_.format >> 8 == 5;
    if (packed) {
      packedPairs();
      return;
    }
    pixels();
    const int rows = dy_ % 2 != 0 ? (h_ - 1) / 2 : h_ / 2;
    const int columns = dx_ % 2 != 0 ? (w_ - 1) / 2 : w_ / 2;
    const int x = (dx_ + 1) / 2;
    const int y = (dy_ + 1) / 2;
    switch (to_.format) {
      case TLUX_FMT_YCBCR420_P:
      case TLUX_FMT_YCBCR420_P_B:
        both(columns, rows, x, y, sx_ / 2, sy_ / 2);
        break;
      case TLUX_FMT_YCBCR440_P:
      case TLUX_FMT_YCBCR440_P_B:
        both(w_, rows, dx_, y, sx_, sy_ / 2);
        break;
      case TLUX_FMT_YCBCR422_P:
      case TLUX_FMT_YCBCR422_P_B:
        both(columns, h_, x, dy_, sx_ / 2, sy_);
        break;
      case TLUX_FMT_YCBCR444_P:
      case TLUX_FMT_YCBCR444_P_B:
        both(w_, h_, dx_, dy_, sx_, sy_);
        break;
      case TLUX_FMT_YCBCR420_YPUV:
      case TLUX_FMT_YCBCR420_YPVU:
        interleavedPairs(rows, y, sy_ / 2);
        break;
      case TLUX_FMT_YCBCR422_YPUV:
        interleavedPairs(h_, dy_, sy_);
        break;
      default:
        break;
    }
  }

 private:
  void pixels() const {
    int pixelBytes = 1;
    int copied = 1;
    switch (to_.format >> 8) {
      case 3:
        pixelBytes = to_.format % 2 != 0 ? 3 : 4;
        copied = 3;
        break;
      case 4:
        pixelBytes = copied = 3;
        break;
      case 5:
        pixelBytes = copied = 2;
        break;
      default:
        break;
    }
    move(0, copied * w_, h_, pixelBytes * dx_, dy_, pixelBytes * sx_, sy_);
  }

  void both(int bytes, int rows, int toX, int toY, int fromX, int fromY) const {
    move(1, bytes, rows, toX, toY, fromX, fromY);
    move(2, bytes, rows, toX, toY, fromX, fromY);
  }

  void move(int plane, int bytes, int rows, int toX, int toY, int fromX, int fromY) const {
    for (int r = 0; r < rows; ++r) {
      for (int i = 0; i < bytes; ++i) {
        target(plane, toX + i, toY + r) = source(plane, fromX + i, fromY + r, 2);
      }
    }
  }

  void interleavedPairs(int rows, int toY, int fromY) const {
    const bool exchanged = dx_ % 2 != 0 && sx_ % 2 == 0;
    const bool shifted = dx_ % 2 == 0 && sx_ % 2 != 0;
    for (int r = 0; r < rows; ++r) {
      for (int k = 0; k < w_; ++k) {
        const int from = exchanged ? (k % 2 == 0 ? k + 1 : k - 1) : (shifted ? k - 1 : k);
        target(1, dx_ + k, toY + r) = source(1, sx_ + from, fromY + r, 2);
      }
    }
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
    for (int r = 0; r < h_; ++r) {
      for (int k = 0; k < 2 * w_; ++k) {
        target(0, 2 * dx_ + k, dy_ + r) = source(0, 2 * sx_ + k / 4 * 4 + order[k % 4], sy_ + r, 4);
      }
    }
  }

  std::uint8_t& target(int plane, int x, int y) const {
    auto& p = to_.planes[plane];
    return p.bytes.at(static_cast<std::size_t>(y * p.pitch + x));
  }

  // A byte behind the plane is the one a pair before; when the row has none, the other component.
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

// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges.
#include <algorithm>
#include <cstdint>

#include "filter/guided_filter.hpp"
#include "tlux/guided_filter.h"

namespace tlux::detail {
namespace {

constexpr std::int32_t kChannels = ColourModel::kGuides;
constexpr std::int32_t kSmallestBlock = 256;

// One dimension of a block, and the extent that is filtered for it: the windows of its pixels'
// windows.
struct Span {
  std::int32_t begin;
  std::int32_t end;
  std::int32_t haloBegin;
  std::int32_t haloEnd;

  Span(std::int32_t first, std::int32_t side, std::int32_t radius, std::int32_t size)
      : begin(first),
        end(std::min(first + side, size)),
        haloBegin(std::max(begin - 2 * radius, 0)),
        haloEnd(std::min(end + 2 * radius, size)) {}
  std::int32_t haloSize() const { return haloEnd - haloBegin; }
};

bool haveCommonRow(const img* a, const img* b) {
  for (std::int32_t y = 0; y < a->height; ++y) {
    if (a->rows[y] == b->rows[y]) return true;
  }
  return false;
}

void guidedFilterInBlocks(MMemMgr manager, const img* guide, const img* input, img* output,
                          std::int32_t radius) {
  if (!areGuidedImages(guide, kChannels, input, output, radius) || haveCommonRow(output, guide) ||
      haveCommonRow(output, input)) {
    return;
  }
  const std::int32_t width = guide->width;
  const std::int32_t height = guide->height;
  const std::int32_t largestSide = std::max(width, height);
  radius = std::min(radius, largestSide);
  // With a side of four radii, the halos at most double the width and height of a block.
  const std::int32_t side = std::min(std::max(kSmallestBlock, 4 * radius), largestSide);
  const Windows largest(std::min(side + 4 * radius, width), std::min(side + 4 * radius, height),
                        radius);
  const GuidedFilter<ColourModel> filter(manager, largest);
  if (!filter) return;

  for (std::int32_t top = 0; top < height; top += side) {
    const Span rows(top, side, radius, height);
    for (std::int32_t left = 0; left < width; left += side) {
      const Span columns(left, side, radius, width);
      const std::ptrdiff_t haloLeft = columns.haloBegin;
      const GuidedImages block = {
          rowsOf(guide).from(haloLeft * kChannels, rows.haloBegin),
          rowsOf(input).from(haloLeft, rows.haloBegin),
          writableRowsOf(output).from(haloLeft, rows.haloBegin),
      };
      filter.run(block, Windows(columns.haloSize(), rows.haloSize(), radius),
                 {columns.begin - columns.haloBegin, rows.begin - rows.haloBegin,
                  columns.end - columns.haloBegin, rows.end - rows.haloBegin});
    }
  }
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

void guided_filter_bin_blocks3d(MMemMgr manager, const img* I, const img* p, img* q,
                                int32_t r) noexcept {
  guidedFilterInBlocks(manager, I, p, q, r);
}

void each_guided(MMemMgr manager, const img* I, const img* p, img* q, int32_t r) noexcept {
  guided_filter_bin_blocks3d(manager, I, p, q, r);
}

int32_t guided_filter_bin_max3d(int32_t x) noexcept {
  return x;
}

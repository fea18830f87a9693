#include <algorithm>

#include "base/result.hpp"
#include "image/component.hpp"
#include "tlux/nv21_tools.h"
#include "tlux/platform.h"

namespace tlux::detail {
namespace {

constexpr std::ptrdiff_t kChunk = 512;

struct ThreeRows {
  const std::uint8_t* above;
  const std::uint8_t* middle;
  const std::uint8_t* below;
};

void sumColumns(const ThreeRows& rows, std::uint16_t* __restrict sums, std::ptrdiff_t count) {
  const std::uint8_t* __restrict above = rows.above;
  const std::uint8_t* __restrict middle = rows.middle;
  const std::uint8_t* __restrict below = rows.below;
  for (std::ptrdiff_t x = 0; x < count; ++x) {
    sums[x] = static_cast<std::uint16_t>(above[x] + 2 * middle[x] + below[x]);
  }
}

// sums[x] belongs to column x - 1.
void smoothSums(const std::uint16_t* __restrict sums, std::uint8_t* __restrict out,
                std::ptrdiff_t count) {
  for (std::ptrdiff_t x = 0; x < count; ++x) {
    const auto sum = static_cast<std::uint16_t>(sums[x] + 2 * sums[x + 1] + sums[x + 2] + 8);
    out[x] = static_cast<std::uint8_t>(sum >> 4);
  }
}

void smoothRow(const ThreeRows& rows, std::uint8_t* out, std::ptrdiff_t width) {
  std::uint16_t sums[kChunk + 2];
  for (std::ptrdiff_t first = 0; first < width; first += kChunk) {
    const std::ptrdiff_t count = std::min(width - first, kChunk);
    // The columns of the chunk and their neighbours, where they exist.
    const std::ptrdiff_t from = std::max<std::ptrdiff_t>(first - 1, 0);
    const std::ptrdiff_t end = std::min(first + count + 1, width);
    sumColumns({rows.above + from, rows.middle + from, rows.below + from},
               sums + (from - (first - 1)), end - from);
    if (first == 0) sums[0] = sums[1];
    if (first + count == width) sums[count + 1] = sums[count];
    smoothSums(sums, out + first, count);
  }
}

void smoothPlane(const ComponentPlane& from, const ComponentPlane& to) {
  for (std::int64_t y = 0; y < to.height; ++y) {
    const ThreeRows rows = {from.row(std::max<std::int64_t>(y - 1, 0)), from.row(y),
                            from.row(std::min(y + 1, to.height - 1))};
    smoothRow(rows, to.row(y), to.width);
  }
}

void copyPlane(const ComponentPlane& from, const ComponentPlane& to) {
  for (std::int64_t y = 0; y < to.height; ++y) {
    MMemCpy(to.row(y), from.row(y), static_cast<std::uint64_t>(to.width));
  }
}

bool is444(std::uint32_t format) {
  return format == TLUX_FMT_YCBCR444_P || format == TLUX_FMT_YCBCR444_P_B;
}

Result gaussSmooth(const TLUX_IMAGE* source, const TLUX_IMAGE* target, std::uint32_t planes) {
  if (source == nullptr || target == nullptr || source->format != target->format || planes > 7) {
    return Result::kInvalidParam;
  }
  if (!is444(source->format)) return Result::kUnsupported;
  const Format& format = *findFormat(source->format);
  if (source->width != target->width || source->height != target->height ||
      !isComplete(*source, format) || !isComplete(*target, format) ||
      source->plane[0] == target->plane[0]) {
    return Result::kInvalidParam;
  }
  for (const Component& component : componentsOf(format)) {
    const auto handle = ((planes >> component.plane) & 1) != 0 ? &smoothPlane : &copyPlane;
    handle(planeOf(*source, component), planeOf(*target, component));
  }
  return Result::kOk;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t GaussSmoothI444(const TLUX_IMAGE* source, TLUX_IMAGE* target, uint32_t planes) noexcept {
  return codeOf(gaussSmooth(source, target, planes));
}

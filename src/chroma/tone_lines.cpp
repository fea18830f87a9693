#include <algorithm>
#include <cstring>

#include "base/fixed_point.hpp"
#include "chroma/chroma_row.hpp"
#include "chroma/semi_planar.hpp"
#include "tlux/tone.h"

namespace tlux::detail {
namespace {

// One row of a frame, from a base and a change of its luma stored as 128 + change.
struct RebuiltRow {
  const std::uint8_t* base;
  const std::uint8_t* change;
  std::uint8_t* luma;           // may be base
  const std::uint8_t* chromaIn; // of base
  std::uint8_t* chromaOut;      // null: no chroma row belongs to this one
  std::ptrdiff_t width;
};

// Scales chroma by the ratio of the new luma to the base. In blocks, so the base is read before the
// new luma overwrites it.
template <int kZone>
void rebuildRow(const RebuiltRow& row) {
  constexpr std::ptrdiff_t kBlock = 256;
  std::uint8_t luma[kBlock];
  for (std::ptrdiff_t first = 0; first < row.width; first += kBlock) {
    const std::ptrdiff_t count = std::min(row.width - first, kBlock);
    const std::uint8_t* base = row.base + first;
    const std::uint8_t* change = row.change + first;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      luma[i] = clampToByte(base[i] + change[i] - 128);
    }
    if (row.chromaOut != nullptr) {
      scaleChromaRow<kZone>(base, luma, row.chromaIn + first, row.chromaOut + first, count / 2);
    }
    std::memcpy(row.luma + first, luma, static_cast<std::size_t>(count));
  }
}

constexpr bool isOdd(std::int32_t row) {
  return row % 2 != 0;
}

void rebuildFrame(const TLUX_IMAGE& base, const TLUX_IMAGE& detail, const TLUX_IMAGE& output) {
  for (std::ptrdiff_t y = 0; y < output.height; ++y) {
    RebuiltRow row = {};
    row.base = base.plane[0] + y * base.pitch[0];
    row.change = detail.plane[0] + y * detail.pitch[0];
    row.luma = output.plane[0] + y * output.pitch[0];
    row.width = output.width;
    if (y % 2 == 0 && y / 2 < output.height / 2) {
      row.chromaIn = base.plane[1] + y / 2 * base.pitch[1];
      row.chromaOut = output.plane[1] + y / 2 * output.pitch[1];
    }
    rebuildRow<kWideNeutralZone>(row);
  }
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

void ToneNV21Line(int32_t row, const uint8_t* newY, uint8_t* uvOut, const uint8_t* oldY,
                  const uint8_t* uvIn, int32_t width) noexcept {
  if (isOdd(row) || width < 1) return;
  if (newY == nullptr || uvOut == nullptr || oldY == nullptr || uvIn == nullptr) return;
  scaleChromaRow<kNeutralZone>(oldY, newY, uvIn, uvOut, width / 2);
}

uint32_t NV21NV12_ToneMap(TLUX_IMAGE* dst, const TLUX_IMAGE* base,
                          const TLUX_IMAGE* detail) noexcept {
  if (dst == nullptr || base == nullptr || detail == nullptr) return TLUX_ERR_INVALID_PARAM;
  for (const TLUX_IMAGE* image : {static_cast<const TLUX_IMAGE*>(dst), base}) {
    const Result result = checkSemiPlanar(*image, dst->width, dst->height);
    if (result != Result::kOk) return codeOf(result);
  }
  if (detail->plane[0] == nullptr || detail->width < dst->width || detail->height < dst->height ||
      detail->pitch[0] < dst->width) {
    return TLUX_ERR_INVALID_PARAM;
  }
  rebuildFrame(*base, *detail, *dst);
  return TLUX_OK;
}

void GuideToneNV21Line(int32_t row, uint8_t* yOut, uint8_t* uvOut, const uint8_t* yIn,
                       const uint8_t* uvIn, const uint8_t* deltaLine, int32_t width) noexcept {
  if (yOut == nullptr || yIn == nullptr || deltaLine == nullptr) return;
  const bool hasChroma = !isOdd(row);
  if (hasChroma && (uvOut == nullptr || uvIn == nullptr)) return;
  rebuildRow<kNeutralZone>({yIn, deltaLine, yOut, uvIn, hasChroma ? uvOut : nullptr, width});
}

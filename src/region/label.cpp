#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "base/result.hpp"
#include "region/mask_plane.hpp"
#include "region/packed_mask.hpp"
#include "region/run_table.hpp"
#include "tlux/region.h"

namespace tlux::detail {
namespace {

// Fills [begin, end). Most runs of a noisy mask are shorter than a step, so a loop of exact length
// would be mispredicted for every one of them. Where the row has room, whole steps are stored, and
// the next run overwrites what spills past `end`.
void fill(std::uint32_t* row, std::uint32_t width, std::uint32_t begin, std::uint32_t end,
          std::uint32_t value) {
  constexpr std::uint32_t kStep = 4;
  if (end + kStep > width) {
    std::fill(row + begin, row + end, value);
    return;
  }
  for (std::uint32_t x = begin; x < end; x += kStep) {
    std::fill_n(row + x, kStep, value);
  }
}

void paintRow(const RunTable& table, std::int32_t y, std::uint32_t* row, std::uint32_t width) {
  std::uint32_t x = 0;
  for (std::uint32_t i = table.rowBegin(y); i < table.rowEnd(y); ++i) {
    const Run run = table.run(i);
    fill(row, width, x, run.begin, 0);
    fill(row, width, run.begin, run.end, table.region(i));
    x = run.end;
  }
  std::fill(row + x, row + width, 0);
}

Result labelRegions(MMemMgr manager, const Plane<const std::uint8_t>& mask,
                    const Plane<std::uint32_t>& labels, std::uint32_t* count,
                    Connectivity connectivity) {
  if (!isValid(mask) || !isValid(labels) || count == nullptr) return Result::kInvalidParam;
  const PackedMask packed(manager, mask, Pixels::kSet);
  if (!packed) return Result::kNoMemory;
  RunTable table(manager, packed);
  if (!table) return Result::kNoMemory;
  *count = table.join(connectivity);
  for (std::int32_t y = 0; y < labels.height; ++y) {
    paintRow(table, y, labels.row(y), static_cast<std::uint32_t>(labels.width));
  }
  return Result::kOk;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TRegionLabel_RegionLabel4(MMemMgr manager, const uint8_t* mask, int32_t pitch,
                                   uint32_t width, uint32_t height, uint32_t* labels,
                                   int32_t labelPitch, uint32_t* count) noexcept {
  return codeOf(labelRegions(manager, describePlane(mask, pitch, width, height),
                             describePlane(labels, labelPitch, width, height), count,
                             Connectivity::kFour));
}

uint32_t TRegionLabel_RegionLabel8(MMemMgr manager, const uint8_t* mask, int32_t pitch,
                                   uint32_t width, uint32_t height, uint32_t* labels,
                                   int32_t labelPitch, uint32_t* count) noexcept {
  return codeOf(labelRegions(manager, describePlane(mask, pitch, width, height),
                             describePlane(labels, labelPitch, width, height), count,
                             Connectivity::kEight));
}

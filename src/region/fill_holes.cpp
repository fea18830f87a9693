#include <algorithm>
#include <cstdint>

#include "base/result.hpp"
#include "region/mask_plane.hpp"
#include "region/packed_mask.hpp"
#include "region/run_table.hpp"
#include "tlux/region.h"

namespace tlux::detail {
namespace {

// Marks the regions of clear pixels that touch the border: those are not holes.
void findOpen(const RunTable& table, const Plane<std::uint8_t>& mask, bool* isOpen) {
  const auto width = static_cast<std::uint32_t>(mask.width);
  table.forEach([&](std::int32_t y, const Run& run, std::uint32_t region) {
    const bool isInEndRow = y == 0 || y == mask.height - 1;
    if (isInEndRow || run.begin == 0 || run.end == width) isOpen[region] = true;
  });
}

std::uint32_t fillClosed(const RunTable& table, const bool* isOpen,
                         const Plane<std::uint8_t>& mask) {
  std::uint32_t filled = 0;
  table.forEach([&](std::int32_t y, const Run& run, std::uint32_t region) {
    if (isOpen[region]) return;
    std::fill(mask.row(y) + run.begin, mask.row(y) + run.end, std::uint8_t{255});
    filled += run.length();
  });
  return filled;
}

Result fillHoles(MMemMgr manager, const Plane<std::uint8_t>& mask, Connectivity connectivity,
                 std::uint32_t* filled) {
  const PackedMask packed(manager, mask, Pixels::kClear);
  if (!packed) return Result::kNoMemory;
  RunTable table(manager, packed);
  if (!table) return Result::kNoMemory;
  const std::int64_t regions = table.join(dual(connectivity));
  const Scratch<bool> isOpen(manager, regions + 1);
  if (!isOpen) return Result::kNoMemory;
  std::fill_n(isOpen.get(), regions + 1, false);
  findOpen(table, mask, isOpen.get());
  const std::uint32_t pixels = fillClosed(table, isOpen.get(), mask);
  if (filled != nullptr) *filled = pixels;
  return Result::kOk;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_TRegionLabel_FillHoles(MMemMgr manager, uint8_t* mask, int32_t pitch, uint32_t width,
                                     uint32_t height, uint32_t connectivity,
                                     uint32_t* filled) noexcept {
  const auto plane = describePlane(mask, pitch, width, height);
  if (!isValid(plane) || !isConnectivity(connectivity)) return TLUX_ERR_INVALID_PARAM;
  return codeOf(fillHoles(manager, plane, static_cast<Connectivity>(connectivity), filled));
}

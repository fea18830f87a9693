#include <algorithm>
#include <cstdint>

#include "base/result.hpp"
#include "region/mask_plane.hpp"
#include "region/packed_mask.hpp"
#include "region/run_table.hpp"
#include "tlux/region.h"

namespace tlux::detail {
namespace {

std::uint32_t clearSmall(const RunTable& table, const std::uint32_t* areas,
                         std::uint32_t minimumArea, const Plane<std::uint8_t>& mask) {
  std::uint32_t cleared = 0;
  table.forEach([&](std::int32_t y, const Run& run, std::uint32_t region) {
    if (areas[region] >= minimumArea) return;
    std::fill(mask.row(y) + run.begin, mask.row(y) + run.end, std::uint8_t{0});
    cleared += run.length();
  });
  return cleared;
}

Result removeSmall(MMemMgr manager, const Plane<std::uint8_t>& mask, Connectivity connectivity,
                   std::uint32_t minimumArea, std::uint32_t* removed) {
  const PackedMask packed(manager, mask, Pixels::kSet);
  if (!packed) return Result::kNoMemory;
  RunTable table(manager, packed);
  if (!table) return Result::kNoMemory;
  const std::int64_t regions = table.join(connectivity);
  const Scratch<std::uint32_t> areas(manager, regions + 1);
  if (!areas) return Result::kNoMemory;
  std::fill_n(areas.get(), regions + 1, 0);
  table.forEach(
      [&](std::int32_t, const Run& run, std::uint32_t region) { areas[region] += run.length(); });
  const std::uint32_t cleared = clearSmall(table, areas.get(), minimumArea, mask);
  if (removed != nullptr) *removed = cleared;
  return Result::kOk;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_TRegionLabel_RemoveSmall(MMemMgr manager, uint8_t* mask, int32_t pitch,
                                       uint32_t width, uint32_t height, uint32_t connectivity,
                                       uint32_t minimumArea, uint32_t* removed) noexcept {
  const auto plane = describePlane(mask, pitch, width, height);
  if (!isValid(plane) || !isConnectivity(connectivity)) return TLUX_ERR_INVALID_PARAM;
  return codeOf(
      removeSmall(manager, plane, static_cast<Connectivity>(connectivity), minimumArea, removed));
}

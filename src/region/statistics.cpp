#include <algorithm>
#include <cstdint>
#include <limits>
#include <span>

#include "region/mask_plane.hpp"
#include "region/run_table.hpp"
#include "tlux/region.h"

namespace tlux::detail {
namespace {

// While pixels are counted, the centroid fields hold coordinate sums.
void addRun(TLUX_REGION& region, const Run& run, std::uint32_t y) {
  const std::uint64_t length = run.length();
  const std::uint64_t columns = (run.begin + std::uint64_t{run.end} - 1) * length / 2;
  const std::uint64_t rows = y * length;
  region.area += run.length();
  region.left = std::min(region.left, run.begin);
  region.top = std::min(region.top, y);
  region.right = std::max(region.right, run.end);
  region.bottom = y + 1;
  region.centroidX += static_cast<double>(columns);
  region.centroidY += static_cast<double>(rows);
}

void addRow(const std::uint32_t* labels, std::uint32_t width, std::uint32_t y,
            std::span<TLUX_REGION> regions) {
  for (Run run = {0, 0}; run.begin < width; run.begin = run.end) {
    const std::uint32_t label = labels[run.begin];
    do {
      ++run.end;
    } while (run.end < width && labels[run.end] == label);
    if (label != 0 && label <= regions.size()) addRun(regions[label - 1], run, y);
  }
}

void measureRegions(const Plane<const std::uint32_t>& labels, std::span<TLUX_REGION> regions) {
  constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();
  std::uint32_t label = 0;
  for (TLUX_REGION& region : regions) {
    region = {++label, 0, kNone, kNone, 0, 0, 0.0, 0.0};
  }
  for (std::int32_t y = 0; y < labels.height; ++y) {
    addRow(labels.row(y), static_cast<std::uint32_t>(labels.width), static_cast<std::uint32_t>(y),
           regions);
  }
  for (TLUX_REGION& region : regions) {
    if (region.area == 0) {
      region = {region.label, 0, 0, 0, 0, 0, 0.0, 0.0};
    } else {
      region.centroidX /= region.area;
      region.centroidY /= region.area;
    }
  }
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_TRegionLabel_Statistics(const uint32_t* labels, int32_t labelPitch, uint32_t width,
                                      uint32_t height, TLUX_REGION* regions,
                                      uint32_t count) noexcept {
  const auto plane = describePlane(labels, labelPitch, width, height);
  const bool isGood = isValid(plane) && (regions != nullptr || count == 0);
  if (!isGood) return TLUX_ERR_INVALID_PARAM;
  measureRegions(plane, {regions, count});
  return TLUX_OK;
}

#include "enhance/histogram.hpp"
#include "enhance/lookup.hpp"
#include "tlux/histogram_match.h"

namespace tlux::detail {
namespace {

void adjustByTable(const Plane<std::uint8_t>& plane, const std::uint8_t* table) {
  if (plane.width < 1) return;
  for (std::int32_t y = 0; y < plane.height; ++y) {
    lookUpRow(plane.row(y), static_cast<std::size_t>(plane.width), table, plane.row(y));
  }
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_AdjustImageByTable(TLUX_IMAGE* image, const uint8_t* table) noexcept {
  constexpr uint32_t kDone = 1;
  if (image == nullptr || image->plane[0] == nullptr || table == nullptr) return kDone;
  adjustByTable(writableLumaOf(*image), table);
  return kDone;
}

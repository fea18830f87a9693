#include "resample/cubic.hpp"
#include "resample/resize_plane.hpp"

namespace tlux {
namespace {

constexpr std::size_t kTableSize = TLUX_CUBIC_TABLE_SIZE;

constexpr void fillCubicTable(std::int16_t* table, int a) {
  for (int phase = 0; phase < kCubicPhases; ++phase) {
    const auto weights = cubicWeights(phase, a);
    std::copy(weights.begin(), weights.end(), table + phase * Cubic::kWeights);
  }
}

constexpr std::array<std::int16_t, kTableSize> kCubicTable = [] {
  std::array<std::int16_t, kTableSize> table{};
  fillCubicTable(table.data(), TLUX_CUBIC_SHARP);
  return table;
}();

} // namespace
} // namespace tlux

uint32_t InitCubicCoeffTab(int16_t* table, int32_t a) noexcept {
  if (table == nullptr || a < -256 || a > 0) return TLUX_ERR_INVALID_PARAM;
  tlux::fillCubicTable(table, a);
  return TLUX_OK;
}

uint32_t Resize_Bicubic_8u_C1(const uint8_t* source, int32_t sourceWidth, int32_t sourceHeight,
                              int32_t sourceStride, uint8_t* target, int32_t targetWidth,
                              int32_t targetHeight, int32_t targetStride,
                              const int16_t* table) noexcept {
  if (table == nullptr) return TLUX_ERR_INVALID_PARAM;
  return tlux::resizePlane<tlux::Cubic>({source, sourceWidth, sourceHeight, sourceStride},
                                        {target, targetWidth, targetHeight, targetStride}, table);
}

uint32_t ImageResize_Cubic_C1(const uint8_t* source, int32_t sourceWidth, int32_t sourceHeight,
                              int32_t sourceStride, uint8_t* target, int32_t targetWidth,
                              int32_t targetHeight, int32_t targetStride) noexcept {
  return Resize_Bicubic_8u_C1(source, sourceWidth, sourceHeight, sourceStride, target, targetWidth,
                              targetHeight, targetStride, tlux::kCubicTable.data());
}

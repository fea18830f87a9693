#include "resize/cubic.hpp"

#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"
#include "resize/resize_plane.hpp"

namespace tlux::detail {
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

template <class Sample>
std::int32_t weightedSum(const std::array<Sample, 4>& samples,
                         const std::array<std::int16_t, 4>& weights) {
  return wrappingAdd(wrappingAdd(samples[0] * weights[0], samples[1] * weights[1]),
                     wrappingAdd(samples[2] * weights[2], samples[3] * weights[3]));
}

TLUX_MULTIVERSION void cubicAlongX(const std::uint8_t* __restrict taps,
                                   const WeightLines<Cubic>& weights, std::ptrdiff_t count,
                                   std::int16_t* __restrict out) {
  constexpr int kShift = 8; // Q14 to Q6
  for (std::size_t k = 0; k < static_cast<std::size_t>(count); ++k) {
    const std::uint8_t* tap = taps + 4 * k;
    const std::int32_t sum =
        weightedSum<std::int16_t>({tap[0], tap[1], tap[2], tap[3]},
                                  {weights[0][k], weights[1][k], weights[2][k], weights[3][k]});
    out[k] = static_cast<std::int16_t>(wrappingAdd(sum, 1 << (kShift - 1)) >> kShift);
  }
}

TLUX_MULTIVERSION void cubicAlongY(const RowsBelow<Cubic>& rows, const Weights<Cubic>& weights,
                                   std::ptrdiff_t count, std::uint8_t* __restrict out) {
  constexpr int kShift = 20; // Q20 to samples
  const auto [first, second, third, fourth] = rows;
  const Weights<Cubic> constant = weights;
  for (std::ptrdiff_t k = 0; k < count; ++k) {
    const std::int32_t sum =
        wrappingAdd(weightedSum<std::int16_t>({first[k], second[k], third[k], fourth[k]}, constant),
                    1 << (kShift - 1));
    // Narrowed before clamping, which keeps the lanes 16-bit.
    const auto value = static_cast<std::int16_t>(sum >> kShift);
    const auto positive = std::max<std::int16_t>(value, 0);
    out[k] = static_cast<std::uint8_t>(std::min<std::int16_t>(positive, 255));
  }
}

} // namespace

void Cubic::alongX(const std::uint8_t* taps, const WeightLines<Cubic>& weights,
                   std::ptrdiff_t count, Row* out) {
  cubicAlongX(taps, weights, count, out);
}

void Cubic::alongY(const RowsBelow<Cubic>& rows, const Weights<Cubic>& weights,
                   std::ptrdiff_t count, std::uint8_t* out) {
  cubicAlongY(rows, weights, count, out);
}

} // namespace tlux::detail

using namespace tlux::detail;

uint32_t InitCubicCoeffTab(int16_t* table, int32_t a) noexcept {
  if (table == nullptr || a < -256 || a > 0) return TLUX_ERR_INVALID_PARAM;
  fillCubicTable(table, a);
  return TLUX_OK;
}

uint32_t Resize_Bicubic_8u_C1(const uint8_t* source, int32_t sourceWidth, int32_t sourceHeight,
                              int32_t sourceStride, uint8_t* target, int32_t targetWidth,
                              int32_t targetHeight, int32_t targetStride,
                              const int16_t* table) noexcept {
  if (table == nullptr) return TLUX_ERR_INVALID_PARAM;
  return codeOf(resizePlane<Cubic>({source, sourceWidth, sourceHeight, sourceStride},
                                   {target, targetWidth, targetHeight, targetStride}, table));
}

uint32_t ImageResize_Cubic_C1(const uint8_t* source, int32_t sourceWidth, int32_t sourceHeight,
                              int32_t sourceStride, uint8_t* target, int32_t targetWidth,
                              int32_t targetHeight, int32_t targetStride) noexcept {
  return Resize_Bicubic_8u_C1(source, sourceWidth, sourceHeight, sourceStride, target, targetWidth,
                              targetHeight, targetStride, kCubicTable.data());
}

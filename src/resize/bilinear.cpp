#include "resize/bilinear.hpp"

#include <bit>

#include "base/multiversion.hpp"

// The two taps of a sample are loaded as one 16-bit word, which puts them in lanes as wide as those
// of the arithmetic.
namespace tlux::detail {
namespace {

std::uint16_t tapPair(const std::uint8_t* taps, std::ptrdiff_t sample) {
  std::uint16_t pair = 0;
  std::memcpy(&pair, taps + 2 * sample, sizeof pair);
  return pair;
}

// The bytes of a pair in memory, for either byte order.
constexpr int kFirstShift = std::endian::native == std::endian::little ? 0 : 8;
constexpr int kSecondShift = 8 - kFirstShift;

std::int16_t upperHalf(std::int16_t a, std::int16_t b) {
  return static_cast<std::int16_t>((a * b) >> 16);
}

TLUX_MULTIVERSION void cornerAlignedAlongX(const std::uint8_t* __restrict taps,
                                           const std::uint16_t* __restrict weights,
                                           std::ptrdiff_t count, std::uint16_t* __restrict out) {
  for (std::ptrdiff_t k = 0; k < count; ++k) {
    const std::uint16_t pair = tapPair(taps, k);
    const auto first = static_cast<std::uint16_t>(pair >> kFirstShift & 255);
    const auto second = static_cast<std::uint16_t>(pair >> kSecondShift & 255);
    out[k] = static_cast<std::uint16_t>(first * (256 - weights[k]) + second * weights[k]);
  }
}

TLUX_MULTIVERSION void cornerAlignedAlongY(const std::uint16_t* __restrict upper,
                                           const std::uint16_t* __restrict lower,
                                           std::uint16_t weight, std::ptrdiff_t count,
                                           std::uint8_t* __restrict out) {
  const auto upperWeight = static_cast<std::uint16_t>(256 - weight);
  for (std::ptrdiff_t k = 0; k < count; ++k) {
    const std::uint32_t sum =
        std::uint32_t{upper[k]} * upperWeight + std::uint32_t{lower[k]} * weight;
    out[k] = static_cast<std::uint8_t>(sum >> 16);
  }
}

TLUX_MULTIVERSION void centreAlignedAlongX(const std::uint8_t* __restrict taps,
                                           const std::int16_t* __restrict weights,
                                           std::ptrdiff_t count, std::int16_t* __restrict out) {
  for (std::ptrdiff_t k = 0; k < count; ++k) {
    const std::uint16_t pair = tapPair(taps, k);
    const auto first = static_cast<std::int16_t>(pair >> kFirstShift & 255);
    const auto second = static_cast<std::int16_t>(pair >> kSecondShift & 255);
    const auto middle = static_cast<std::int16_t>((first + second) << 6);
    const auto difference = static_cast<std::int16_t>((second - first) * 128);
    out[k] = static_cast<std::int16_t>(middle + upperHalf(difference, weights[k]));
  }
}

// The weight is repeated in memory, since there is an instruction for the upper half of a product
// of two loaded vectors.
TLUX_MULTIVERSION void centreAlignedAlongY(const std::int16_t* __restrict upper,
                                           const std::int16_t* __restrict lower,
                                           std::int16_t weight, std::ptrdiff_t count,
                                           std::uint8_t* __restrict out) {
  std::int16_t weights[kRunSize<CentreAligned>];
  std::fill_n(weights, count, weight);
  for (std::ptrdiff_t k = 0; k < count; ++k) {
    const auto middle =
        static_cast<std::int16_t>(static_cast<std::uint16_t>(upper[k] + lower[k]) >> 1);
    const auto difference = static_cast<std::int16_t>(lower[k] - upper[k]);
    const auto value = static_cast<std::int16_t>(middle + upperHalf(difference, weights[k]) + 65);
    out[k] = static_cast<std::uint8_t>(value >> 7);
  }
}

} // namespace

void CornerAligned::alongX(const std::uint8_t* taps, const WeightLines<CornerAligned>& weights,
                           std::ptrdiff_t count, Row* out) {
  cornerAlignedAlongX(taps, weights[0].data(), count, out);
}

void CornerAligned::alongY(const RowsBelow<CornerAligned>& rows,
                           const Weights<CornerAligned>& weights, std::ptrdiff_t count,
                           std::uint8_t* out) {
  cornerAlignedAlongY(rows[0], rows[1], weights[0], count, out);
}

void CentreAligned::alongX(const std::uint8_t* taps, const WeightLines<CentreAligned>& weights,
                           std::ptrdiff_t count, Row* out) {
  centreAlignedAlongX(taps, weights[0].data(), count, out);
}

void CentreAligned::alongY(const RowsBelow<CentreAligned>& rows,
                           const Weights<CentreAligned>& weights, std::ptrdiff_t count,
                           std::uint8_t* out) {
  centreAlignedAlongY(rows[0], rows[1], weights[0], count, out);
}

} // namespace tlux::detail

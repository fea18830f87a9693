#include "gain/gain_lines.hpp"

#include "tlux/gain_lines.h"

namespace tlux::detail {
namespace {

constexpr std::uint32_t kUnity = 1024;       // Q10
constexpr std::uint32_t kRollOffFrom = 2048; // 12-bit brightness; unity is reached at twice that

// Linear from g at kRollOffFrom to unity at 2 · kRollOffFrom; wraps in 32 bits beyond.
std::uint16_t rolledOff(std::uint16_t g, std::uint32_t t) {
  if (t <= kRollOffFrom) return g;
  const std::uint32_t weighted = kUnity * (t - kRollOffFrom) + g * (2 * kRollOffFrom - t);
  return static_cast<std::uint16_t>(weighted >> 11);
}

template <LineShape kShape>
std::uint16_t mappedGain(const CoarseGains& gains, std::int32_t k) {
  const std::uint16_t g = gains.mapping[gains.data[k]];
  if constexpr (kShape.hasRollOff) {
    const auto& [data, stride, shift] = gains.brightness;
    if (data == nullptr) return g;
    const std::uint32_t bright = data[std::int64_t{k} * stride];
    return rolledOff(g, static_cast<std::uint32_t>(shift) < 32 ? bright >> shift : 0);
  }
  return g;
}

// `part` of kStep parts of the way from a to b, truncated.
template <int kStep>
std::uint16_t between(std::uint32_t a, std::uint32_t b, std::uint32_t part) {
  return static_cast<std::uint16_t>((a * (kStep - part) + b * part) / kStep);
}

template <LineShape kShape>
void expandCoarseRow(const CoarseGains& gains, std::ptrdiff_t length, std::uint16_t* line) {
  std::uint16_t a = mappedGain<kShape>(gains, 0);
  std::uint16_t* out = line;
  for (std::int32_t k = 1; k < gains.count; ++k, out += kShape.step) {
    const std::uint16_t b = mappedGain<kShape>(gains, k);
    for (std::uint32_t j = 0; j < kShape.step; ++j) {
      out[j] = between<kShape.step>(a, b, j);
    }
    a = b;
  }
  std::fill(out, line + length, a);
}

template <int kStep>
void blendLines(const std::uint16_t* __restrict previous, const std::uint16_t* __restrict next,
                std::uint32_t part, std::ptrdiff_t length, std::uint16_t* __restrict out) {
  for (std::ptrdiff_t x = 0; x < length; ++x) {
    out[x] = between<kStep>(previous[x], next[x], part);
  }
}

} // namespace

template <LineShape kShape>
void expandGainLine(std::int32_t row, std::int32_t width, const CoarseGains& gains,
                    std::uint16_t* lines) {
  const std::ptrdiff_t length = std::ptrdiff_t{width} + kShape.slack;
  std::uint16_t* next = lines + length;
  std::uint16_t* previous = next + length;
  const int phase = row & (kShape.step - 1);
  if (phase == 0) {
    if (row == 0) {
      expandCoarseRow<kShape>(gains, length, lines);
    } else {
      std::copy_n(next, length, lines);
    }
    std::copy_n(lines, length, previous);
    return;
  }
  if (phase == 1) expandCoarseRow<kShape>(gains, length, next);
  blendLines<kShape.step>(previous, next, static_cast<std::uint32_t>(phase), length, lines);
}

template void expandGainLine<kLineOf8>(std::int32_t, std::int32_t, const CoarseGains&,
                                       std::uint16_t*);
template void expandGainLine<kLineOf4>(std::int32_t, std::int32_t, const CoarseGains&,
                                       std::uint16_t*);

namespace {

template <LineShape kShape>
std::uint16_t* expandLine(std::int32_t row, std::int32_t width, std::uint16_t* lines,
                          const std::uint16_t* gains, const std::uint16_t* mapping,
                          BrightnessRow brightness) {
  if (width < 1 || lines == nullptr || gains == nullptr || mapping == nullptr) return nullptr;
  expandGainLine<kShape>(row, width, {gains, coarseCount(kShape, width), mapping, brightness},
                         lines);
  return lines;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint16_t* TLUX_AME_TonemapExposure_Line8(int32_t, int32_t row, int32_t width, uint16_t* lines,
                                         const uint16_t*, const uint16_t* gains,
                                         const uint16_t* mapping, int32_t, int32_t) noexcept {
  return expandLine<kLineOf8>(row, width, lines, gains, mapping, {});
}

uint16_t* AME_TonemapExposure_Line(int32_t, int32_t row, int32_t width, uint16_t* lines,
                                   const uint16_t* brightness, const uint16_t* gains,
                                   const uint16_t* mapping, int32_t shift,
                                   int32_t stride) noexcept {
  return expandLine<kLineOf4>(row, width, lines, gains, mapping, {brightness, stride, shift});
}

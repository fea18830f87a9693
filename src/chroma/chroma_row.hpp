#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/simd_level.hpp"

// Chroma follows luma: where the luma of a pixel pair was scaled, its two chroma samples are scaled
// about the neutral value by the same ratio, so lifted shadows keep their colour. Both samples of
// an interleaved pair are treated alike, so Cb Cr (NV12) and Cr Cb (NV21) need no distinction.
namespace tlux::detail {

// Within this zone about neutral, chroma moves by only distance / zone of the full change, so noise
// on grey does not turn into colour.
inline constexpr int kNeutralZone = 8;
inline constexpr int kWideNeutralZone = 32;

// How chroma follows luma: the luma code that counts as black, and what percentage of the change in
// ratio reaches the chroma.
struct ChromaRule {
  int black = 0;
  int percent = 100;
};

// One row of `pairs` pairs: 2 · pairs samples of every plane. chromaOut may be chromaIn.
using ScaleChromaRow = void (*)(const std::uint8_t* oldLuma, const std::uint8_t* newLuma,
                                const std::uint8_t* chromaIn, std::uint8_t* chromaOut,
                                std::ptrdiff_t pairs);

struct ChromaKernels {
  ScaleChromaRow scaleNarrowly; // kNeutralZone
  ScaleChromaRow scaleWidely;   // kWideNeutralZone
  void (*scaleByRule)(const ChromaRule& rule, const std::uint8_t* oldLuma,
                      const std::uint8_t* newLuma, const std::uint8_t* chromaIn,
                      std::uint8_t* chromaOut, std::ptrdiff_t pairs);
};

template <int kZone>
ScaleChromaRow chromaRowScaler() {
  static_assert(kZone == kNeutralZone || kZone == kWideNeutralZone);
  const ChromaKernels& table = kernels<ChromaKernels>();
  return kZone == kNeutralZone ? table.scaleNarrowly : table.scaleWidely;
}

template <int kZone>
void scaleChromaRow(const std::uint8_t* oldLuma, const std::uint8_t* newLuma,
                    const std::uint8_t* chromaIn, std::uint8_t* chromaOut, std::ptrdiff_t pairs) {
  chromaRowScaler<kZone>()(oldLuma, newLuma, chromaIn, chromaOut, pairs);
}

// The same with the narrow zone and the caller's rule: the ratio is 1 + (ratio − 1) · percent /
// 100, its change rounded down.
inline void scaleChromaRow(const ChromaRule& rule, const std::uint8_t* oldLuma,
                           const std::uint8_t* newLuma, const std::uint8_t* chromaIn,
                           std::uint8_t* chromaOut, std::ptrdiff_t pairs) {
  kernels<ChromaKernels>().scaleByRule(rule, oldLuma, newLuma, chromaIn, chromaOut, pairs);
}

} // namespace tlux::detail

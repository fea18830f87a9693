#pragma once

#include <cstddef>
#include <cstdint>

#include "tlux/image.h"

// Chroma follows luma: where the luma of a pixel pair was scaled, its two chroma samples are scaled
// about the neutral value by the same ratio, so that lifted shadows keep their colour. Both samples
// of an interleaved pair are treated alike; Cb Cr (NV12) and Cr Cb (NV21) are the same to the rule.
namespace tlux {

// Chroma within the zone about neutral moves only by the fraction distance / zone of the full
// change, so that noise on grey does not turn into colour.
inline constexpr int kNeutralZone = 8;
inline constexpr int kWideNeutralZone = 32;

// One row of `pairs` pairs: 2 · pairs samples of every plane. chromaOut may be chromaIn.
template <int kZone>
void scaleChromaRow(const std::uint8_t* oldLuma, const std::uint8_t* newLuma,
                    const std::uint8_t* chromaIn, std::uint8_t* chromaOut, std::ptrdiff_t pairs);

extern template void scaleChromaRow<kNeutralZone>(const std::uint8_t*, const std::uint8_t*,
                                                  const std::uint8_t*, std::uint8_t*,
                                                  std::ptrdiff_t);
extern template void scaleChromaRow<kWideNeutralZone>(const std::uint8_t*, const std::uint8_t*,
                                                      const std::uint8_t*, std::uint8_t*,
                                                      std::ptrdiff_t);

// Writes the chroma of the output from the source's luma and chroma and the output's luma, without
// touching a byte outside pitch × rows of any plane.
//
// With equal pitches the rows are walked as NV21NV12_Tone() does; what it would do past the end of
// a plane is left out. Otherwise each plane is walked by its own pitch.
void scaleChromaByLumaRatio(const TLUX_IMAGE& source, const TLUX_IMAGE& output);

} // namespace tlux

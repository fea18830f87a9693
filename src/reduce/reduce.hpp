#pragma once

#include "reduce/crop.hpp"
#include "reduce/layout.hpp"

namespace tlux::detail {

// Whether TLUX_ScaleCropImage() has a member for a format code and a factor.
bool isReducible(std::uint32_t code, std::int32_t factor);

// Reduces the whole blocks of a rectangle that is not empty; all planes are there.

// Which components of the destination are made.
enum class Components { kAll, kLuma, kChroma };

// By 2 to 14 or kFourThirds, from planes of luma and chroma.
void reducePlanes(Layout layout, int factor, const TLUX_IMAGE& source, const Crop& crop,
                  const TLUX_IMAGE& destination, Components components = Components::kAll);
// By 2 to 14, from packed 4:2:2.
void reducePacked(int factor, const TLUX_IMAGE& source, const Crop& crop,
                  const TLUX_IMAGE& destination);
// By 8, from a mosaic of 16-bit samples.
void reduceRawMosaic(std::uint32_t arrangement, const TLUX_IMAGE& source, const Crop& crop,
                     const TLUX_IMAGE& destination);
// No reduction: luma is copied, chroma widened to full columns and rows.
void widenChroma(Layout layout, const TLUX_IMAGE& source, const Crop& crop,
                 const TLUX_IMAGE& destination);

} // namespace tlux::detail

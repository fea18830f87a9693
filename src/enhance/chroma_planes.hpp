#pragma once

#include <cstddef>
#include <cstdint>

#include "base/result.hpp"
#include "image/component.hpp"

namespace tlux::detail {

// Checks that a frame is complete and has its chroma as pairs in plane 1, in either order.
Result checkSemiPlanar(const TLUX_IMAGE* frame);

// The chroma pairs of such a frame; may be empty.
ComponentPlane chromaPairsOf(const TLUX_IMAGE& frame);

// Pairs to planes Cb (u) and Cr (v), and back.
void splitChroma(const TLUX_IMAGE& frame, std::uint8_t* u, std::uint8_t* v, std::ptrdiff_t pitch);
void joinChroma(const std::uint8_t* u, const std::uint8_t* v, std::ptrdiff_t pitch,
                const TLUX_IMAGE& frame);

} // namespace tlux::detail

#pragma once

#include <cstdint>

#include "base/bands.hpp"
#include "reduce/reduce.hpp"
#include "tlux/image.h"

namespace tlux::detail {

// Reduction factor from a frame to its reference frame.
inline constexpr std::int32_t kReferenceReduction = 8;

// Reduces the source by 8 into rows of its reference frame.
void fillReferenceRows(const TLUX_IMAGE& source, const TLUX_IMAGE& reference, Band rows,
                       Components components);

} // namespace tlux::detail

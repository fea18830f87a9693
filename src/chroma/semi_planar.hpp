#pragma once

#include <cstdint>

#include "image/format.hpp"

namespace tlux::detail {

// Whether a record is an NV21 or NV12 frame that holds width × height pixels; the result code for
// its caller.
inline std::uint32_t checkSemiPlanar(const TLUX_IMAGE& image, std::int64_t width,
                                     std::int64_t height) {
  if (!isSemiPlanar420(image.format)) return TLUX_ERR_UNSUPPORTED;
  const bool isLargeEnough =
      image.width >= width && image.height >= height && hasSemiPlanes(image, width, width / 2 * 2);
  return isLargeEnough ? TLUX_OK : TLUX_ERR_INVALID_PARAM;
}

} // namespace tlux::detail

#pragma once

#include <cstdint>

#include "tlux/image.h"

namespace tlux {

// Whether a record is an NV21 or NV12 frame that holds width × height pixels; the result code for
// its caller.
inline std::uint32_t checkSemiPlanar(const TLUX_IMAGE& image, std::int64_t width,
                                     std::int64_t height) {
  if (image.format != TLUX_FMT_YCBCR420_YPUV && image.format != TLUX_FMT_YCBCR420_YPVU) {
    return TLUX_ERR_UNSUPPORTED;
  }
  const bool complete = image.plane[0] != nullptr && image.plane[1] != nullptr;
  const bool largeEnough = image.width >= width && image.height >= height &&
                           image.pitch[0] >= width && image.pitch[1] >= width / 2 * 2;
  return complete && largeEnough ? TLUX_OK : TLUX_ERR_INVALID_PARAM;
}

} // namespace tlux

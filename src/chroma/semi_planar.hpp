#pragma once

#include <cstdint>

#include "base/result.hpp"
#include "image/format.hpp"

namespace tlux::detail {

// Checks that a record is an NV21 or NV12 frame that holds width × height pixels; returns a result
// code.
inline Result checkSemiPlanar(const TLUX_IMAGE& image, std::int64_t width, std::int64_t height) {
  if (!isSemiPlanar420(image.format)) return Result::kUnsupported;
  const bool isLargeEnough =
      image.width >= width && image.height >= height && hasSemiPlanes(image, width, width / 2 * 2);
  return isLargeEnough ? Result::kOk : Result::kInvalidParam;
}

} // namespace tlux::detail

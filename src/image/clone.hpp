#pragma once

#include <cstdint>

#include "base/result.hpp"
#include "tlux/image.h"

namespace tlux::detail {

// Creates an image with the format of `source` and the size of the rectangle (null: the whole
// image) and copies that part into it. The new image is in *out even when the copy fails; *out is
// null when the image cannot be created.
Result cloneImage(TLUX_IMAGE** out, const TLUX_IMAGE& source, const TLUX_RECT* rect,
                  MMemMgr manager);

} // namespace tlux::detail

#include "tlux/engine.h"

namespace {

constexpr TLUX_VERSION kVersion = {
    .major = 1,
    .minor = 0,
    .build = 12523,
    .revision = 18,
    .version = "Tolvane_LUX_1.0.12523.18",
    .buildDate = "12/28/2015",
    .notice = "Copyright the tlux authors. All rights reserved.",
};

} // namespace

// Constant data, so concurrent callers can share it.
const TLUX_VERSION* TLUX_GetVersion() noexcept {
  return &kVersion;
}

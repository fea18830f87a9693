#pragma once

#include <cstdint>

#include "media/av.hpp"

namespace tlux::app {

/** Whether all pixels are alike. */
bool isFlat(const AVFrame& frame);

/**
 * Whether a picture of one colour takes too many bytes for that in a file of @p fileBytes: what it
 * shows was lost in decoding. One that is not compressed has as many bytes as its samples.
 */
bool looksUndecoded(const AVFrame& frame, uint64_t fileBytes);

} // namespace tlux::app

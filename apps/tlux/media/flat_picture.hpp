#pragma once

#include <cstdint>

#include "media/av.hpp"

namespace tlux::app {

/** Whether all pixels are equal. */
bool isFlat(const AVFrame& frame);

/**
 * Whether the file of @p fileBytes is too large for a picture of a single colour, so its content
 * was lost in decoding. An uncompressed file has as many bytes as samples.
 */
bool looksUndecoded(const AVFrame& frame, uint64_t fileBytes);

} // namespace tlux::app

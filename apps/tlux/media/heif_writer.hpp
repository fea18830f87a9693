#pragma once

#include "media/av.hpp"
#include "media/metadata.hpp"

namespace tlux::app {

enum class HeifCodec { kAv1, kHevc };

/** Whether this build and its library can write such files. */
bool canEncodeHeif(HeifCodec codec);

/**
 * Encodes a full-range frame in YUV420P, YUV444P, or either with alpha, as an AVIF or HEIC file.
 * Metadata may be null. @param quality 1 to 100. Throws std::runtime_error.
 */
Bytes encodeHeif(const AVFrame& frame, HeifCodec codec, int quality, const Metadata* metadata);

} // namespace tlux::app

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "media/av.hpp"

namespace tlux::app {

// The library expects display-referred tones. Anything else (ink, gray with its own profile, linear
// light) is converted to sRGB first.

/** A block of interleaved CMYK samples. */
struct InkSamples {
  const uint8_t* data;
  int width;
  int height;
  int sampleBytes;                  // 1 or 2
  size_t pixelBytes;                // from one pixel to the next; may skip extra samples
  bool isInverted;                  // full ink is 0
  std::span<const uint8_t> profile; // ICC; empty for a plain mixture of inks
};

/** The remark for CMYK without a profile. */
constexpr const char* kNoInkProfile = "its CMYK colours have no profile and are approximate";

/** RGB24 or RGB48. Throws std::runtime_error for a profile that is not for CMYK. */
FramePtr inkToRgb(const InkSamples& samples);

/**
 * An sRGB copy of a gray picture with its own profile, or of one whose floating-point samples are
 * linear light; null for any other picture, which is display-referred already. Without alpha.
 */
FramePtr toDisplayColor(const AVFrame& picture);

} // namespace tlux::app

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "media/av.hpp"

namespace tlux::app {

// The library takes tones as displays show them. What a file stores in another way (ink, a gray
// scale of its own, light as it was measured) is turned into sRGB first.

/** A block of interleaved CMYK samples. */
struct InkSamples {
  const uint8_t* data;
  int width;
  int height;
  int sampleBytes;                  // 1 or 2
  size_t pixelBytes;                // from one pixel to the next; may skip further samples
  bool isInverted;                  // full ink is 0
  std::span<const uint8_t> profile; // ICC; empty for a plain mixture of inks
};

/** The remark on inks without a profile. */
constexpr const char* kNoInkProfile = "its inks (CMYK) have no profile, colours are approximate";

/** RGB24 or RGB48. Throws std::runtime_error for a profile that is not of CMYK. */
FramePtr inkToRgb(const InkSamples& samples);

/**
 * An RGB copy in sRGB of a gray picture with a profile of its own, or of one whose floating-point
 * samples measure light; null for any other picture, which is for displays already. Without alpha.
 */
FramePtr toDisplayColor(const AVFrame& picture);

} // namespace tlux::app

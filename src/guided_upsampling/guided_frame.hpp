// The fast guided filter: windows of 2r × 2r, edges repeated.
#pragma once

#include <cstdint>

#include "base/bands.hpp"
#include "base/plane.hpp"
#include "tlux/fast_guided_filter.h"

namespace tlux::detail {

// The inputs of the fit, at low resolution: the target picture and its guide, of one size.
struct GuidedFrame {
  Plane<const std::uint8_t> input;
  Plane<const std::uint8_t> guide;
  std::int32_t radius;         // of the windows, in low-resolution pixels
  std::int32_t regularisation; // squared codes

  std::int32_t width() const { return guide.width; }
  std::int32_t height() const { return guide.height; }
};

// The settings used for tones.
inline constexpr std::int32_t kToneRadius = 16;
inline constexpr std::int32_t kToneRegularisation = 20;

// The four maps of a frame's coefficients, packed: a and b as solved, then smoothed.
struct CoefficientPlanes {
  std::int32_t* rawA;
  std::int32_t* rawB;
  std::int32_t* smoothA;
  std::int32_t* smoothB;
};

// The rows of a frame that one worker fits and smooths together.
struct GuidedBand {
  GuidedFrame frame;
  CoefficientPlanes maps;
  MMemMgr manager; // of that worker
  std::int32_t firstRow;
  std::int32_t rowCount; // rows past the end of the frame are skipped

  Band rows() const {
    const std::int64_t end = std::int64_t{firstRow} + rowCount;
    return {firstRow, end < frame.height() ? static_cast<std::int32_t>(end) : frame.height()};
  }
};

// The low-resolution part of the exported record.
inline GuidedBand bandOf(const TLUX_GUIDE_CONTEXT& context) {
  const std::int32_t width = context.lowWidth;
  const std::int32_t height = context.lowHeight;
  const GuidedFrame frame = {{context.input, width, height, context.lowPitch},
                             {context.guide, width, height, context.lowPitch},
                             context.radius,
                             context.eps};
  return {frame,
          {context.rawA, context.rawB, context.smoothA, context.smoothB},
          context.manager,
          context.startRow,
          context.bandRows};
}

} // namespace tlux::detail

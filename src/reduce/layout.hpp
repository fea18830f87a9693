#pragma once

#include <cstdint>

#include "tlux/image.h"

namespace tlux {

enum class Sampling {
  k420,       // chroma of every second row and column
  k422,       // chroma of every row and every second column
  kPacked422, // groups Y0 Cb Y1 Cr in one plane
};

// Where each component of a reducible source lives.
struct Layout {
  Sampling sampling;
  bool interleaved; // chroma pairs in plane 1; otherwise Cb in plane 1, Cr in plane 2
  bool crFirst;     // order of the pair

  constexpr int planes() const {
    return sampling == Sampling::kPacked422 ? 1 : (interleaved ? 2 : 3);
  }
};

constexpr Layout layoutOf(std::uint32_t format) {
  switch (format) {
    case TLUX_FMT_YCBCR420_YPUV:
      return {Sampling::k420, true, false};
    case TLUX_FMT_YCBCR420_YPVU:
      return {Sampling::k420, true, true};
    case TLUX_FMT_YCBCR422_YPUV:
      return {Sampling::k422, true, false};
    case TLUX_FMT_YCBCR420_P:
      return {Sampling::k420, false, false};
    case TLUX_FMT_YCBCR422_P:
      return {Sampling::k422, false, false};
    default:
      return {Sampling::kPacked422, true, false}; // YCBYCR, and BAYER which is read as such
  }
}

} // namespace tlux

#pragma once

#include <cstdint>

#include "image/format.hpp"

namespace tlux::detail {

enum class Sampling {
  k420,       // chroma of every second row and column
  k422,       // chroma of every row and every second column
  kPacked422, // groups Y0 Cb Y1 Cr in one plane
};

// Where each component of a reducible source is stored.
struct Layout {
  Sampling sampling;
  bool interleaved; // chroma pairs in plane 1; otherwise Cb in plane 1, Cr in plane 2
  bool crFirst;     // order of the pair

  constexpr int planes() const {
    return sampling == Sampling::kPacked422 ? 1 : (interleaved ? 2 : 3);
  }
};

// For formats that can be reduced: packed 4:2:2, and planes of chroma with half as many columns as
// luma. BAYER is read as packed YCBYCR.
constexpr Layout layoutOf(std::uint32_t code) {
  const Format& format = *findFormat(code);
  if (format.planes == 1) return {Sampling::kPacked422, true, false};
  return {format.chromaShiftY == 0 ? Sampling::k422 : Sampling::k420, format.planes == 2,
          format.cbAt == 1};
}

} // namespace tlux::detail

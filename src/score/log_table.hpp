#pragma once

#include <cstdint>

#include "base/by_eights.hpp"
#include "base/multiversion.hpp"
#include "base/plane.hpp"
#include "score/mean.hpp"

namespace tlux::detail {

// Replaces every sample by convert(sample) and returns the mean of the row means of the results.
// `destination` may be `source`. With a team, rows are shared.
template <class Sample, class Convert>
std::int32_t convertSamples(Plane<Sample> source, Plane<std::int16_t> destination,
                            Convert&& convert, Team* team = nullptr) {
  const auto convertRow = [&](std::int32_t y) {
    const Sample* in = source.row(y);
    std::int16_t* out = destination.row(y);
    forEachByEights(source.width, [&](std::ptrdiff_t x) TLUX_INLINED_LAMBDA {
      out[x] = static_cast<std::int16_t>(convert(in[x]));
    });
    return sumOf(out, source.width);
  };
  return meanOfRowMeans(source.width, source.height, convertRow, team);
}

// Subtracts an offset from every sample, with 16-bit wrap-around, and returns the mean of the row
// means.
std::int32_t shiftSamples(Plane<std::int16_t> plane, std::int32_t offset);

} // namespace tlux::detail

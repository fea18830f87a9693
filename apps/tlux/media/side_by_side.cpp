#include "media/side_by_side.hpp"

#include <algorithm>
#include <cstring>

#include "media/semi_planar.hpp"

namespace tlux::app {

namespace {

constexpr int kSeamLuma = 255;
constexpr int kNeutralChroma = 128;

/** About half a percent of the width; even, so that chroma stays aligned. */
int seamWidth(int width) {
  return std::max(4, width / 400 * 2);
}

void joinPlane(const AVFrame& left, const AVFrame& right, AVFrame& joined, int plane, int rows,
               int seamValue) {
  const auto width = static_cast<size_t>(left.width);
  const auto seam = static_cast<size_t>(joined.width) - 2 * width;
  for (int y = 0; y < rows; ++y) {
    uint8_t* row = joined.data[plane] + ptrdiff_t{y} * joined.linesize[plane];
    std::memcpy(row, left.data[plane] + ptrdiff_t{y} * left.linesize[plane], width);
    std::memset(row + width, seamValue, seam);
    std::memcpy(row + width + seam, right.data[plane] + ptrdiff_t{y} * right.linesize[plane],
                width);
  }
}

} // namespace

FramePtr placeSideBySide(const AVFrame& left, const AVFrame& right) {
  const int width = 2 * left.width + seamWidth(left.width);
  FramePtr joined = makeSemiPlanar(static_cast<AVPixelFormat>(left.format), width, left.height,
                                   FFALIGN(width, 64));
  check(av_frame_copy_props(joined.get(), &left));
  joinPlane(left, right, *joined, 0, left.height, kSeamLuma);
  joinPlane(left, right, *joined, 1, left.height / 2, kNeutralChroma);
  return joined;
}

} // namespace tlux::app

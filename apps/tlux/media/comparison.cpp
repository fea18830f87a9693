#include "media/comparison.hpp"

#include <algorithm>
#include <cstring>
#include <string>

#include "media/semi_planar.hpp"
#include "media/text.hpp"

namespace tlux::app {

namespace {

constexpr int kSeamLuma = 255;
constexpr int kNeutralChroma = 128;

/** The columns used from each side, all even so that chroma stays aligned. */
struct Columns {
  int left;       // from the start of the left frame
  int seam;       // light ones
  int right;      // up to the end of the right frame
  int rightStart; // where they start in the right frame
};

void joinPlane(const AVFrame& left, const AVFrame& right, AVFrame& joined, int plane,
               Columns columns) {
  const int rows = plane == 0 ? joined.height : joined.height / 2;
  for (int y = 0; y < rows; ++y) {
    uint8_t* row = joined.data[plane] + ptrdiff_t{y} * joined.linesize[plane];
    std::memcpy(row, left.data[plane] + ptrdiff_t{y} * left.linesize[plane],
                static_cast<size_t>(columns.left));
    row += columns.left;
    std::memset(row, plane == 0 ? kSeamLuma : kNeutralChroma, static_cast<size_t>(columns.seam));
    row += columns.seam;
    std::memcpy(row, right.data[plane] + ptrdiff_t{y} * right.linesize[plane] + columns.rightStart,
                static_cast<size_t>(columns.right));
  }
}

FramePtr join(const AVFrame& left, const AVFrame& right, Columns columns) {
  const int width = columns.left + columns.seam + columns.right;
  FramePtr joined = makeSemiPlanar(static_cast<AVPixelFormat>(left.format), width, left.height,
                                   FFALIGN(width, 64));
  check(av_frame_copy_props(joined.get(), &left));
  joinPlane(left, right, *joined, 0, columns);
  joinPlane(left, right, *joined, 1, columns);
  return joined;
}

} // namespace

FramePtr placeSideBySide(const AVFrame& left, const AVFrame& right) {
  const int seam = std::max(4, left.width / 400 * 2); // about half a percent
  return join(left, right, {left.width, seam, right.width, 0});
}

FramePtr splitDownTheMiddle(const AVFrame& left, const AVFrame& right) {
  const int width = left.width;
  const int seam = std::min(width, std::max(2, width / 800 * 2)); // about a quarter of a percent
  const int leftColumns = (width - seam + 2) / 4 * 2;
  const int rightStart = leftColumns + seam;
  return join(left, right, {leftColumns, seam, width - rightStart, rightStart});
}

FramePtr labelSides(const AVFrame& comparison) {
  const std::string before = "before";
  const std::string after = "after";
  const int size = std::clamp(std::min(comparison.width / 2, comparison.height) / 24, 14, 72);
  const int room = textWidth(before.size(), size) + 2 * size;
  if (comparison.width < 2 * room || comparison.height < 3 * size) return nullptr;
  return drawLabels(comparison,
                    {{before, size, size}, {after, comparison.width - size, size, true}},
                    {.size = size, .hasBox = true});
}

} // namespace tlux::app

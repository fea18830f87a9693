#include "media/block_padding.hpp"

#include <cstring>

#include "media/semi_planar.hpp"

namespace tlux::app {

namespace {

/** One plane of a frame; rows are bytes, chroma having two to the sample and half the rows. */
struct Plane {
  uint8_t* data;
  ptrdiff_t pitch;
  int rows;
  int sampleBytes;

  uint8_t* row(int y) const { return data + y * pitch; }
};

Plane planeOf(const AVFrame& frame, int index) {
  return {frame.data[index], frame.linesize[index], index == 0 ? frame.height : frame.height / 2,
          index == 0 ? 1 : 2};
}

/** Bytes are counted alike in both planes, since chroma has half the samples of twice the size. */
void extendPlane(Plane from, Plane to, int left, int width) {
  const int top = to.rows - from.rows;
  const int extendedWidth = left + width;
  for (int y = 0; y < from.rows; ++y) {
    uint8_t* row = to.row(top + y);
    std::memcpy(row + left, from.row(y), static_cast<size_t>(width));
    for (int x = 0; x < left; ++x) {
      row[x] = row[left + x % from.sampleBytes];
    }
  }
  for (int y = 0; y < top; ++y) {
    std::memcpy(to.row(y), to.row(top), static_cast<size_t>(extendedWidth));
  }
}

void cutPlane(Plane from, Plane to, int left, int width) {
  const int top = from.rows - to.rows;
  for (int y = 0; y < to.rows; ++y) {
    std::memcpy(to.row(y), from.row(top + y) + left, static_cast<size_t>(width));
  }
}

} // namespace

FramePtr extendToBlocks(const AVFrame& frame) {
  const int width = FFALIGN(frame.width, kBlock);
  const int height = FFALIGN(frame.height, kBlock);
  const bool isWhole = width == frame.width && height == frame.height && width == frame.linesize[0];
  // Frames this small are copied as they are.
  if (isWhole || frame.width < kBlock || frame.height < kBlock) return nullptr;
  FramePtr extended =
      makeSemiPlanar(static_cast<AVPixelFormat>(frame.format), width, height, width);
  for (int plane = 0; plane < 2; ++plane) {
    extendPlane(planeOf(frame, plane), planeOf(*extended, plane), width - frame.width, frame.width);
  }
  return extended;
}

FramePtr cutFromBlocks(const AVFrame& extended, const AVFrame& model) {
  FramePtr cut = makeSemiPlanarLike(model);
  for (int plane = 0; plane < 2; ++plane) {
    cutPlane(planeOf(extended, plane), planeOf(*cut, plane), extended.width - model.width,
             model.width);
  }
  return cut;
}

} // namespace tlux::app

#include "media/orientation.hpp"

extern "C" {
#include <libavutil/dict.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "media/semi_planar.hpp"

namespace tlux::app {

namespace {

/** x' = a·x + c·y and y' = b·x + d·y, in fixed point of any scale. */
Orientation fromDisplayMatrix(const std::array<int32_t, 9>& m) {
  const int64_t a = m[0];
  const int64_t b = m[1];
  const int64_t c = m[3];
  const int64_t d = m[4];
  if (std::abs(b) + std::abs(c) > std::abs(a) + std::abs(d)) {
    return {.exchangeAxes = true, .flipX = c < 0, .flipY = b < 0};
  }
  return {.exchangeAxes = false, .flipX = a < 0, .flipY = d < 0};
}

/** The eight values of the EXIF tag Orientation. */
Orientation fromExif(int value) {
  constexpr std::array<Orientation, 9> kOrientations = {{
      {false, false, false}, // not a value of the tag
      {false, false, false},
      {false, true, false},
      {false, true, true},
      {false, false, true},
      {true, false, false},
      {true, true, false},
      {true, true, true},
      {true, false, true},
  }};
  return value >= 1 && value <= 8 ? kOrientations[static_cast<size_t>(value)] : Orientation{};
}

struct ConstPlane {
  const uint8_t* data;
  int width; // elements
  int height;
  ptrdiff_t pitch;
};

/** Processes the target in tiles, so the source rows or columns stay in the cache. */
template <size_t elementBytes>
void turnPlane(ConstPlane source, uint8_t* target, ptrdiff_t targetPitch, Orientation turn) {
  constexpr int kTile = 64;
  const int width = turn.exchangeAxes ? source.height : source.width;
  const int height = turn.exchangeAxes ? source.width : source.height;
  constexpr auto kElement = static_cast<ptrdiff_t>(elementBytes);
  ptrdiff_t stepX = turn.exchangeAxes ? source.pitch : kElement;
  ptrdiff_t stepY = turn.exchangeAxes ? kElement : source.pitch;
  const uint8_t* origin = source.data;
  if (turn.flipX) {
    origin += stepX * (width - 1);
    stepX = -stepX;
  }
  if (turn.flipY) {
    origin += stepY * (height - 1);
    stepY = -stepY;
  }
  for (int top = 0; top < height; top += kTile) {
    const int bottom = std::min(top + kTile, height);
    for (int left = 0; left < width; left += kTile) {
      const int right = std::min(left + kTile, width);
      for (int y = top; y < bottom; ++y) {
        for (int x = left; x < right; ++x) {
          std::memcpy(target + y * targetPitch + x * kElement, origin + x * stepX + y * stepY,
                      elementBytes);
        }
      }
    }
  }
}

struct Margins {
  size_t before;
  size_t after;
};

void turnCrop(const AVFrame& source, AVFrame& target, Orientation turn) {
  Margins horizontal = {source.crop_left, source.crop_right};
  Margins vertical = {source.crop_top, source.crop_bottom};
  if (turn.exchangeAxes) std::swap(horizontal, vertical);
  if (turn.flipX) std::swap(horizontal.before, horizontal.after);
  if (turn.flipY) std::swap(vertical.before, vertical.after);
  target.crop_left = horizontal.before;
  target.crop_right = horizontal.after;
  target.crop_top = vertical.before;
  target.crop_bottom = vertical.after;
}

bool isGray(const AVFrame& frame) {
  return frame.format == AV_PIX_FMT_GRAY8;
}

FramePtr makeTurned(const AVFrame& source, Orientation turn) {
  const int width = turn.exchangeAxes ? source.height : source.width;
  const int height = turn.exchangeAxes ? source.width : source.height;
  return isGray(source) ? makeFrame(AV_PIX_FMT_GRAY8, width, height)
                        : makeSemiPlanar(static_cast<AVPixelFormat>(source.format), width, height,
                                         FFALIGN(width, 64));
}

} // namespace

Orientation orientationOf(const AVFrame& frame) {
  const AVFrameSideData* matrix = av_frame_get_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX);
  std::array<int32_t, 9> values = {};
  if (matrix != nullptr && matrix->size >= sizeof values) {
    std::memcpy(values.data(), matrix->data, sizeof values);
    return fromDisplayMatrix(values);
  }
  const AVDictionaryEntry* tag = av_dict_get(frame.metadata, "Orientation", nullptr, 0);
  return tag == nullptr ? Orientation{} : fromExif(std::atoi(tag->value));
}

FramePtr turn(FramePtr frame, Orientation orientation) {
  if (orientation.isUpright()) return frame;
  FramePtr turned = makeTurned(*frame, orientation);
  check(av_frame_copy_props(turned.get(), frame.get()));
  turnCrop(*frame, *turned, orientation);
  turnPlane<1>({frame->data[0], frame->width, frame->height, frame->linesize[0]}, turned->data[0],
               turned->linesize[0], orientation);
  if (!isGray(*frame)) {
    turnPlane<2>({frame->data[1], frame->width / 2, frame->height / 2, frame->linesize[1]},
                 turned->data[1], turned->linesize[1], orientation);
  }
  return turned;
}

} // namespace tlux::app

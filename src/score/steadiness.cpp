#include "score/steadiness.hpp"

#include <algorithm>
#include <cstdlib>

#include "base/fixed_point.hpp"
#include "score/retinex.hpp"

namespace tlux::detail {
namespace {

// A change of the mean log luminance by more than half a stop, 1024 · ln(2) / 2, is a cut. Within a
// scene the mean changes by less from frame to frame: a light that comes on shifts it by its share
// of the area times at most 1024 · ln(4125 / 30), from black to white, so by half a stop if it
// covers 7 % of the picture; exposure control moves in thirds of a stop at most. The value that is
// followed slowly is never off by more than a quarter of a stop, because the anchor is half-way to
// grey.
constexpr std::int32_t kCut = 355;

// Two smoothing steps of 3/8 of the frames each. At 8 frames a ninth of a change arrives with the
// first frame, and all but 1/2000 after three times the frames, (1 + n · share) · (1 − share)^n
// with n = 24: less than is visible after rounding to codes.
float shareFor(std::uint32_t frames) {
  return frames <= 2 ? 1.0F : 8.0F / (3.0F * static_cast<float>(frames));
}

std::int32_t rounded(float value) {
  return saturatingTrunc<std::int32_t>(static_cast<double>(value + (value < 0 ? -0.5F : 0.5F)));
}

} // namespace

void FollowedLevels::follow(Plane<std::int16_t> level) {
  if (std::max(level.width, level.height) > kLargestSide) return;
  for (std::int32_t y = 0; y < level.height; ++y) {
    std::int16_t* row = level.row(y);
    for (std::int32_t x = 0; x < level.width; ++x) {
      row[x] = static_cast<std::int16_t>(rounded(cells_[used_++].follow(row[x], share_)));
    }
  }
}

void Steadiness::enter(std::int32_t width, std::int32_t height, std::int32_t mean) {
  isCut_ = width != width_ || height != height_ || std::abs(mean - mean_) > kCut;
  width_ = width;
  height_ = height;
  mean_ = mean;
  share_ = isCut_ ? 1.0F : shareFor(frames_);
  usedAnchor_ = rounded(anchor_.follow(static_cast<float>(anchorOf(mean)), share_));
  base_.enter(share_);
  energy_.enter(share_);
}

std::int32_t Steadiness::followContrast(std::int32_t contrast) {
  return rounded(contrast_.follow(static_cast<float>(contrast), share_));
}

} // namespace tlux::detail

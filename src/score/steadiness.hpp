#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/plane.hpp"

namespace tlux::detail {

// A number that follows another through an intermediate one, each covering a share of the remaining
// distance:
//
//   first += (wanted − first) · share,  second += (first − second) · share.
//
// It starts gently: the first frame covers share² of a step, not share.
class FollowedNumber {
 public:
  // `share` 1: jump to the value.
  float follow(float wanted, float share) {
    first_ += (wanted - first_) * share;
    second_ += (first_ - second_) * share;
    return second_;
  }

 private:
  float first_ = 0;
  float second_ = 0;
};

// The coarsest levels of a pyramid: they carry a light in one corner to the far wall.
class FollowedLevels {
 public:
  // Largest size, columns and rows, of a level that is followed; finer levels are local.
  static constexpr std::int32_t kLargestSide = 12;

  // Starts the next frame; its levels come in the same order every time.
  void enter(float share) {
    share_ = share;
    used_ = 0;
  }
  void follow(Plane<std::int16_t> level);

 private:
  static constexpr std::size_t kCells = 12 * 12 + 6 * 6 + 3 * 3 + 2 * 2 + 1;

  float share_ = 1;
  std::size_t used_ = 0;
  std::array<FollowedNumber, kCells> cells_;
};

// Keeps the tones of a video from moving faster than its scene: the parts of a score that depend on
// more than a pixel's neighbourhood follow the scene over so many frames. A cut takes effect at
// once. Nothing else is carried from frame to frame.
class Steadiness {
 public:
  // 0: every frame by itself; 1: the same, but with steady levels.
  void setFrames(std::uint32_t frames) { frames_ = frames; }
  // Forgets earlier frames: the next frame counts as a cut.
  void reset() { width_ = 0; }

  // Takes in the size and the mean log luminance of the next frame.
  void enter(std::int32_t width, std::int32_t height, std::int32_t mean);
  // Takes in its contrast, Q10; returns the one to use.
  std::int32_t followContrast(std::int32_t contrast);

  bool isOn() const { return frames_ > 0; }
  bool isCut() const { return isCut_; }
  std::int32_t mean() const { return mean_; }
  std::int32_t anchor() const { return usedAnchor_; }
  FollowedLevels& base() { return base_; }
  FollowedLevels& energy() { return energy_; }

 private:
  std::uint32_t frames_ = 0;
  std::int32_t width_ = 0; // of the latest frame; 0: there is none
  std::int32_t height_ = 0;
  std::int32_t mean_ = 0;
  bool isCut_ = false;
  float share_ = 1;
  std::int32_t usedAnchor_ = 0;
  FollowedNumber anchor_;
  FollowedNumber contrast_;
  FollowedLevels base_;
  FollowedLevels energy_;
};

} // namespace tlux::detail

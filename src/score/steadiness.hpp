#pragma once

#include <cstdint>

namespace tlux {

// Keeps the tones of a video from moving faster than its scene does. What a score takes from the
// frame as a whole, the anchor and the contrast, follows with a time constant of so many frames:
//
//   followed += (wanted − followed) / frames,
//
// which leaves 1/20 of a step after three time constants. A cut takes effect at once. Nothing else
// is carried from frame to frame.
class Steadiness {
 public:
  // 0: every frame by itself, and so is 1, but with steady levels.
  void setFrames(std::uint32_t frames) { frames_ = frames; }
  // Forgets what was before: the next frame counts as a cut.
  void reset() { hasFrame_ = false; }

  // Takes in the mean log luminance of the next frame.
  void enter(std::int32_t mean);
  // Takes in its contrast, Q10; returns the one to use.
  std::int32_t followContrast(std::int32_t contrast);

  bool isOn() const { return frames_ > 0; }
  bool isCut() const { return isCut_; }
  std::int32_t mean() const { return mean_; }
  std::int32_t anchor() const;

 private:
  double share() const { return isCut_ || frames_ == 0 ? 1.0 : 1.0 / frames_; }

  std::uint32_t frames_ = 0;
  bool hasFrame_ = false;
  bool isCut_ = false;
  std::int32_t mean_ = 0;
  double anchor_ = 0;
  double contrast_ = 0;
};

} // namespace tlux

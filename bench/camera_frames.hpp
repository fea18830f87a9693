#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tlux/image.h"

// NV21 frames used in turn, together larger than the caches, since camera frames start outside
// them.
class CameraFrames {
 public:
  static constexpr std::size_t kRotationBytes = std::size_t{96} << 20;

  CameraFrames(int width, int height, std::size_t rotationBytes = kRotationBytes)
      : width_(width), height_(height) {
    const std::size_t bytes = frameBytes();
    sources_.resize(rotationBytes / bytes / 2 + 1);
    for (auto& frame : sources_) {
      frame.resize(bytes);
      // Shadow with texture, and a bright third.
      for (std::size_t i = 0; i < bytes; ++i) {
        const bool bright =
            i % static_cast<std::size_t>(width) > static_cast<std::size_t>(width) * 2 / 3;
        frame[i] = static_cast<std::uint8_t>((bright ? 190 : 20) + (i * 2654435761U >> 27 & 31));
      }
    }
    outputs_ = sources_;
  }

  std::size_t frameBytes() const {
    return static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_) * 3 / 2;
  }
  void advance() { turn_ = (turn_ + 1) % sources_.size(); }
  std::vector<std::uint8_t>& source() { return sources_[turn_]; }
  std::vector<std::uint8_t>& output() { return outputs_[turn_]; }
  TLUX_IMAGE record(std::vector<std::uint8_t>& frame) const {
    return {TLUX_FMT_YCBCR420_YPVU,
            width_,
            height_,
            {frame.data(), frame.data() + frame.size() * 2 / 3},
            {width_, width_}};
  }

 private:
  int width_;
  int height_;
  std::size_t turn_ = 0;
  std::vector<std::vector<std::uint8_t>> sources_;
  std::vector<std::vector<std::uint8_t>> outputs_;
};

#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "media/av.hpp"

namespace tlux::app {

/** A pool of frames of one kind, for one thread; frames are reused once nothing refers to them. */
class FramePool {
 public:
  explicit FramePool(std::function<FramePtr()> make) : make_(std::move(make)) {}

  /** Its pixels are left over from earlier use; its properties are as set by make(). */
  FramePtr take() {
    for (const FramePtr& frame : frames_) {
      if (av_frame_is_writable(frame.get()) != 0) return share(*frame);
    }
    return share(*frames_.emplace_back(make_()));
  }

 private:
  static FramePtr share(const AVFrame& frame) {
    return FramePtr(checkAllocated(av_frame_clone(&frame)));
  }

  std::function<FramePtr()> make_;
  std::vector<FramePtr> frames_;
};

} // namespace tlux::app

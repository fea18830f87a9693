#pragma once

#include <cstdint>
#include <vector>

#include "media/picture.hpp"
#include "tlux.h"

namespace tlux::app {

/** One plane of 8-bit samples, rows end to end. */
struct Channel {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> samples;

  Channel() = default;
  Channel(int w, int h, uint8_t value = 0);

  uint8_t* data() { return samples.data(); }
  bool isEmpty() const { return samples.empty(); }

  /** As an image of the library, over the same samples. */
  TLUX_IMAGE gray();
};

/** A picture taken apart for the operations: what is visible, without margins. */
struct Channels {
  Channel luma;
  Channel cb; // of the size of luma, or both sides halved and rounded up
  Channel cr;
  Channel alpha; // of the size of luma; empty for an opaque picture

  bool hasHalvedChroma() const { return cb.width != luma.width || cb.height != luma.height; }

  /** Does work(channel) with each channel there is. */
  template <typename Work>
  void each(Work work) {
    for (Channel* channel : {&luma, &cb, &cr, &alpha}) {
      if (!channel->isEmpty()) work(*channel);
    }
  }

  /** Luma without colour and transparency. */
  static Channels ofGray(Channel luma);
};

Channels takeApart(const Picture& picture);

/** A frame of the channels, without transparency; odd sides are extended by one. */
FramePtr toNv21(Channels& channels);

/**
 * A picture of the channels with the colour properties of @p model. Halved chroma makes an NV21
 * frame, full chroma a planar one unless @p semiPlanar asks for what raw files need.
 */
Picture putTogether(Channels channels, const Picture& model, bool semiPlanar);

} // namespace tlux::app

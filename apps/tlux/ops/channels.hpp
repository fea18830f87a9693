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

  /** A library image over the same samples. */
  TLUX_IMAGE gray();
};

/** The channels of a picture's visible part, without margins. */
struct Channels {
  Channel luma;
  Channel cb; // the size of luma, or half of it in both directions, rounded up
  Channel cr;
  Channel alpha; // the size of luma; empty for an opaque picture

  bool hasHalvedChroma() const { return cb.width != luma.width || cb.height != luma.height; }

  /** Calls work(channel) for each existing channel. */
  template <typename Work>
  void each(Work work) {
    for (Channel* channel : {&luma, &cb, &cr, &alpha}) {
      if (!channel->isEmpty()) work(*channel);
    }
  }

  /** A gray picture without transparency. */
  static Channels ofGray(Channel luma);
};

Channels takeApart(const Picture& picture);

/** A frame from the channels, without transparency; odd sides are extended by one. */
FramePtr toNv21(Channels& channels);

/**
 * A picture from the channels with the colour properties of @p model. Halved chroma gives an NV21
 * frame, full chroma a planar one, or a semi-planar one for raw files if @p semiPlanar is set.
 */
Picture putTogether(Channels channels, const Picture& model, bool semiPlanar);

} // namespace tlux::app

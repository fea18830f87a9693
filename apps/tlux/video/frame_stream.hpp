#pragma once

#include <string>
#include <vector>

#include "media/av.hpp"

namespace tlux::app {

/** What all frames of a stream have in common. */
struct StreamProperties {
  int width = 0; // as shown, without padding
  int height = 0;
  AVRational timeBase = {1, 25};
  AVRational frameRate = {25, 1}; // 0/1 if unknown
  AVRational sampleAspect = {0, 1};
  AVColorRange range = AVCOL_RANGE_JPEG; // of the source
  AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
  AVColorPrimaries primaries = AVCOL_PRI_UNSPECIFIED;
  AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
  AVChromaLocation chromaLocation = AVCHROMA_LOC_UNSPECIFIED;
  int bits = 8; // bits per sample of the source; the frames themselves have 8
  AVFieldOrder fieldOrder = AV_FIELD_PROGRESSIVE;
  int64_t frameCount = 0; // 0 if unknown

  // If the frames come from a container: the container, and its video stream.
  AVFormatContext* container = nullptr;
  int stream = -1;
};

/** A frame with the packets of other streams before it; the last portion may have no frame. */
struct Portion {
  FramePtr frame;
  std::vector<PacketPtr> packets;
};

/** Frames in the library's layout (see semi_planar.hpp), with padding recorded in the crop fields.
 */
class FrameSource {
 public:
  FrameSource() = default;
  FrameSource(const FrameSource&) = delete;
  FrameSource& operator=(const FrameSource&) = delete;
  virtual ~FrameSource() = default;

  virtual const StreamProperties& properties() const = 0;

  /** False at the end. Throws Error naming the input. */
  virtual bool read(Portion& portion) = 0;

  /** Remarks on the input after its end. */
  virtual std::vector<std::string> remarks() const { return {}; }
};

/** Consumes such frames. All functions throw Error naming the output. */
class FrameSink {
 public:
  FrameSink() = default;
  FrameSink(const FrameSink&) = delete;
  FrameSink& operator=(const FrameSink&) = delete;
  virtual ~FrameSink() = default;

  virtual void write(Portion portion) = 0;

  /** Gives the output its final name. */
  virtual void finish() = 0;
};

} // namespace tlux::app

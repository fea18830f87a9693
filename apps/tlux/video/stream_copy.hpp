#pragma once

#include <memory>
#include <string>
#include <vector>

#include "media/av.hpp"
#include "video/subtitle_converter.hpp"

namespace tlux::app {

/** Carries the streams beside the enhanced one from container to container, packet by packet. */
class StreamCopies {
 public:
  /**
   * Adds a stream to @p target for each of @p source but @p except, with all that is told of it.
   * Text that the target holds in another kind is converted. Streams that it cannot hold are left
   * out and remarked on.
   */
  StreamCopies(const AVFormatContext& source, int except, AVFormatContext& target);

  /** Packets of streams left out vanish. Throws AvError. */
  void write(AVPacket& packet);

  const std::vector<std::string>& remarks() const { return remarks_; }

 private:
  struct Copy {
    const AVStream* from = nullptr;
    AVStream* to = nullptr;                       // null when left out
    std::unique_ptr<SubtitleConverter> converter; // for text of another kind
    int64_t lastDts = AV_NOPTS_VALUE;
  };
  void add(const AVStream& from, Copy& copy);
  void keepOrder(Copy& copy, AVPacket& packet) const;

  AVFormatContext& target_;
  std::vector<Copy> copies_; // by the stream's index in the source
  std::vector<std::string> remarks_;
};

/** Title, language and the like, and the stream's role. */
void copyStreamDescription(const AVStream& from, AVStream& to);

/** What holds for a whole stream, such as its display matrix. Does nothing when there is none. */
void copySideData(const AVStream& from, AVStream& to, AVPacketSideDataType type);

/** Title, date, place and the like, and chapters. */
void copyContainerDescription(const AVFormatContext& from, AVFormatContext& to);

} // namespace tlux::app

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "media/av.hpp"
#include "video/subtitle_converter.hpp"

namespace tlux::app {

/** Copies all streams but the enhanced one between containers, packet by packet. */
class StreamCopies {
 public:
  /**
   * Adds a stream to @p target for each one of @p source but @p except, with its description. Text
   * is converted if the target needs another format. Streams that the target does not support are
   * dropped with a remark.
   */
  StreamCopies(const AVFormatContext& source, int except, AVFormatContext& target);

  /** Drops packets of dropped streams. Throws AvError. */
  void write(AVPacket& packet);

  const std::vector<std::string>& remarks() const { return remarks_; }

 private:
  struct Copy {
    const AVStream* from = nullptr;
    AVStream* to = nullptr;                       // null if dropped
    std::unique_ptr<SubtitleConverter> converter; // for text in another format
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

/** Side data of a whole stream, such as its display matrix, if there is any. */
void copySideData(const AVStream& from, AVStream& to, AVPacketSideDataType type);

/** Title, date, place and the like, and chapters. */
void copyContainerDescription(const AVFormatContext& from, AVFormatContext& to);

} // namespace tlux::app

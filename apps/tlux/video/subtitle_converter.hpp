#pragma once

#include "media/av.hpp"

namespace tlux::app {

/** Converts text subtitles to the format that a container needs. */
class SubtitleConverter {
 public:
  /** Whether @p stream can be converted to text that the container supports. */
  static bool canConvert(const AVCodecParameters& stream, const AVOutputFormat& target);

  /** Describes the converted stream in @p to. Throws AvError. */
  SubtitleConverter(const AVStream& from, AVStream& to, const AVFormatContext& target);

  /** The packet that shows the same text, at times in the base of @p packet; null for none. */
  PacketPtr convert(AVPacket& packet);

 private:
  PacketPtr encode(AVSubtitle& subtitle, const AVPacket& packet);

  CodecPtr decoder_;
  CodecPtr encoder_;
  AVRational timeBase_;
};

} // namespace tlux::app

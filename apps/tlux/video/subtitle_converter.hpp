#pragma once

#include "media/av.hpp"

namespace tlux::app {

/** Turns text subtitles of one kind into those of another, as containers ask for them. */
class SubtitleConverter {
 public:
  /** Whether a container takes text that can be converted from @p stream. */
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

#include "video/stream_copy.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace tlux::app {

namespace {

bool canHold(const AVOutputFormat& format, const AVCodecParameters& stream) {
  if (stream.codec_id == AV_CODEC_ID_NONE) return false;
  // Fonts and the like; the only container that supports them does not list which kinds.
  if (stream.codec_type == AVMEDIA_TYPE_ATTACHMENT) {
    return std::string_view(format.name) == "matroska";
  }
  const int answer = avformat_query_codec(&format, stream.codec_id, FF_COMPLIANCE_NORMAL);
  if (answer >= 0) return answer != 0;
  // Some containers do not list codecs. Assume that they accept sound or text if they have any.
  switch (stream.codec_type) {
    case AVMEDIA_TYPE_AUDIO:
      return format.audio_codec != AV_CODEC_ID_NONE;
    case AVMEDIA_TYPE_SUBTITLE:
      return format.subtitle_codec != AV_CODEC_ID_NONE;
    case AVMEDIA_TYPE_VIDEO:
      return format.audio_codec != AV_CODEC_ID_NONE; // not a container for a single stream
    default:
      return false;
  }
}

/** Tags name the codec within a container; clears one that the target container does not have. */
void keepKnownTag(AVCodecParameters& stream, const AVOutputFormat& format) {
  unsigned int tag = 0;
  const bool isKnown = format.codec_tag == nullptr ||
                       av_codec_get_id(format.codec_tag, stream.codec_tag) == stream.codec_id ||
                       av_codec_get_tag2(format.codec_tag, stream.codec_id, &tag) == 0;
  if (!isKnown) stream.codec_tag = 0;
}

/** AVI declares fixed-length packets for codecs without them, which would break the timestamps. */
void forgetBlockLength(AVCodecParameters& stream) {
  switch (stream.codec_id) {
    case AV_CODEC_ID_AAC:
    case AV_CODEC_ID_AC3:
    case AV_CODEC_ID_EAC3:
    case AV_CODEC_ID_MP2:
    case AV_CODEC_ID_MP3:
      stream.block_align = 0;
      break;
    default:
      break;
  }
}

AVStream* addCopy(const AVStream& from, AVFormatContext& target) {
  AVStream* to = checkAllocated(avformat_new_stream(&target, nullptr));
  check(avcodec_parameters_copy(to->codecpar, from.codecpar));
  keepKnownTag(*to->codecpar, *target.oformat);
  forgetBlockLength(*to->codecpar);
  to->time_base = from.time_base;
  to->avg_frame_rate = from.avg_frame_rate;
  to->r_frame_rate = from.r_frame_rate;
  to->sample_aspect_ratio = from.sample_aspect_ratio;
  copyStreamDescription(from, *to);
  for (int i = 0; i < from.nb_side_data; ++i) {
    copySideData(from, *to, from.side_data[i].type);
  }
  return to;
}

std::string kindOf(const AVStream& stream) {
  const char* kind = av_get_media_type_string(stream.codecpar->codec_type);
  return fmt::format("{} stream {} ({})", kind == nullptr ? "unknown" : kind, stream.index,
                     avcodec_get_name(stream.codecpar->codec_id));
}

AVChapter* copyChapter(const AVChapter& from) {
  auto* to = checkAllocated(static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter))));
  to->id = from.id;
  to->time_base = from.time_base;
  to->start = from.start;
  to->end = from.end;
  av_dict_copy(&to->metadata, from.metadata, 0);
  return to;
}

} // namespace

StreamCopies::StreamCopies(const AVFormatContext& source, int except, AVFormatContext& target)
    : target_(target), copies_(source.nb_streams) {
  for (unsigned int i = 0; i < source.nb_streams; ++i) {
    copies_[i].from = source.streams[i];
    if (static_cast<int>(i) == except) continue;
    add(*source.streams[i], copies_[i]);
  }
}

void StreamCopies::add(const AVStream& from, Copy& copy) {
  if (canHold(*target_.oformat, *from.codecpar)) {
    copy.to = addCopy(from, target_);
  } else if (SubtitleConverter::canConvert(*from.codecpar, *target_.oformat)) {
    copy.to = checkAllocated(avformat_new_stream(&target_, nullptr));
    copy.converter = std::make_unique<SubtitleConverter>(from, *copy.to, target_);
    copyStreamDescription(from, *copy.to);
  } else {
    remarks_.push_back(
        fmt::format("{} is dropped: {} does not support it", kindOf(from), target_.oformat->name));
  }
}

void StreamCopies::write(AVPacket& packet) {
  // Containers without a header may reveal a stream late, when it can no longer be added.
  const auto index = static_cast<size_t>(packet.stream_index);
  if (index >= copies_.size() || copies_[index].to == nullptr) return;
  Copy& copy = copies_[index];
  if (copy.converter != nullptr) {
    const PacketPtr converted = copy.converter->convert(packet);
    if (converted == nullptr) return;
    av_packet_unref(&packet);
    av_packet_move_ref(&packet, converted.get());
  }
  av_packet_rescale_ts(&packet, copy.from->time_base, copy.to->time_base);
  packet.stream_index = copy.to->index;
  packet.pos = -1;
  keepOrder(copy, packet);
  check(av_interleaved_write_frame(&target_, &packet));
}

/** Muxers refuse decreasing timestamps, which damaged or joined files have. */
void StreamCopies::keepOrder(Copy& copy, AVPacket& packet) const {
  if (packet.dts == AV_NOPTS_VALUE) return;
  if (copy.lastDts != AV_NOPTS_VALUE) {
    const bool mayRepeat = (target_.oformat->flags & AVFMT_TS_NONSTRICT) != 0;
    packet.dts = std::max(packet.dts, copy.lastDts + (mayRepeat ? 0 : 1));
    if (packet.pts != AV_NOPTS_VALUE) packet.pts = std::max(packet.pts, packet.dts);
  }
  copy.lastDts = packet.dts;
}

void copyStreamDescription(const AVStream& from, AVStream& to) {
  to.disposition = from.disposition;
  check(av_dict_copy(&to.metadata, from.metadata, AV_DICT_DONT_OVERWRITE));
}

void copySideData(const AVStream& from, AVStream& to, AVPacketSideDataType type) {
  size_t size = 0;
  const uint8_t* data = av_stream_get_side_data(&from, type, &size);
  if (data == nullptr) return;
  std::memcpy(checkAllocated(av_stream_new_side_data(&to, type, size)), data, size);
}

void copyContainerDescription(const AVFormatContext& from, AVFormatContext& to) {
  check(av_dict_copy(&to.metadata, from.metadata, AV_DICT_DONT_OVERWRITE));
  // These describe the old file itself.
  for (const char* key : {"major_brand", "minor_version", "compatible_brands", "encoder"}) {
    av_dict_set(&to.metadata, key, nullptr, 0);
  }
  if (from.nb_chapters == 0) return;
  to.chapters =
      checkAllocated(static_cast<AVChapter**>(av_calloc(from.nb_chapters, sizeof(AVChapter*))));
  for (unsigned int i = 0; i < from.nb_chapters; ++i) {
    to.chapters[i] = copyChapter(*from.chapters[i]);
    to.nb_chapters = i + 1;
  }
}

} // namespace tlux::app

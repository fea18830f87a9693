#include "video/subtitle_converter.hpp"

#include <array>
#include <cstring>
#include <memory>

#include "media/input_container.hpp"

namespace tlux::app {

namespace {

constexpr AVRational kMilliseconds = {1, 1000};
constexpr AVRational kMicroseconds = {1, AV_TIME_BASE};

bool isText(AVCodecID codec) {
  const AVCodecDescriptor* descriptor = avcodec_descriptor_get(codec);
  return descriptor != nullptr && (descriptor->props & AV_CODEC_PROP_TEXT_SUB) != 0;
}

/** The container's text format; some, such as MP4, support one without declaring it. */
AVCodecID textCodecOf(const AVOutputFormat& format) {
  if (isText(format.subtitle_codec)) return format.subtitle_codec;
  const bool holdsMovText =
      avformat_query_codec(&format, AV_CODEC_ID_MOV_TEXT, FF_COMPLIANCE_NORMAL) == 1;
  return holdsMovText ? AV_CODEC_ID_MOV_TEXT : AV_CODEC_ID_NONE;
}

struct ReleaseSubtitle {
  void operator()(AVSubtitle* subtitle) const { avsubtitle_free(subtitle); }
};

/** Passes the styles that the decoder made from the stream's header on to the encoder. */
void handOverStyles(const AVCodecContext& decoder, AVCodecContext& encoder) {
  if (decoder.subtitle_header == nullptr) return;
  const auto size = static_cast<size_t>(decoder.subtitle_header_size);
  encoder.subtitle_header = checkAllocated(static_cast<uint8_t*>(av_mallocz(size + 1)));
  std::memcpy(encoder.subtitle_header, decoder.subtitle_header, size);
  encoder.subtitle_header_size = decoder.subtitle_header_size;
}

} // namespace

bool SubtitleConverter::canConvert(const AVCodecParameters& stream, const AVOutputFormat& target) {
  return stream.codec_type == AVMEDIA_TYPE_SUBTITLE && isText(stream.codec_id) &&
         avcodec_find_decoder(stream.codec_id) != nullptr &&
         avcodec_find_encoder(textCodecOf(target)) != nullptr;
}

SubtitleConverter::SubtitleConverter(const AVStream& from, AVStream& to,
                                     const AVFormatContext& target)
    : decoder_(makeDecoder(*from.codecpar)), timeBase_(from.time_base) {
  decoder_->pkt_timebase = from.time_base;
  check(avcodec_open2(decoder_.get(), nullptr, nullptr));
  const AVCodec* encoder = avcodec_find_encoder(textCodecOf(*target.oformat));
  encoder_.reset(checkAllocated(avcodec_alloc_context3(encoder)));
  encoder_->time_base = kMilliseconds;
  if ((target.oformat->flags & AVFMT_GLOBALHEADER) != 0) {
    encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  }
  handOverStyles(*decoder_, *encoder_);
  check(avcodec_open2(encoder_.get(), nullptr, nullptr));
  check(avcodec_parameters_from_context(to.codecpar, encoder_.get()));
  to.time_base = from.time_base;
}

PacketPtr SubtitleConverter::convert(AVPacket& packet) {
  AVSubtitle subtitle = {};
  int isThere = 0;
  const int result = avcodec_decode_subtitle2(decoder_.get(), &subtitle, &isThere, &packet);
  const std::unique_ptr<AVSubtitle, ReleaseSubtitle> owner(&subtitle);
  if (result < 0 && result != AVERROR_INVALIDDATA) check(result);
  // Skips unreadable text, and the empty text between two others.
  const bool hasText = result >= 0 && isThere != 0 && subtitle.num_rects > 0;
  return hasText ? encode(subtitle, packet) : nullptr;
}

PacketPtr SubtitleConverter::encode(AVSubtitle& subtitle, const AVPacket& packet) {
  // The start time is only in the packet.
  subtitle.pts = av_rescale_q(packet.pts, timeBase_, kMicroseconds);
  const uint32_t shown = subtitle.end_display_time - subtitle.start_display_time;
  subtitle.end_display_time = shown;
  subtitle.start_display_time = 0;
  constexpr int kMostBytes = 1 << 16;
  PacketPtr converted(checkAllocated(av_packet_alloc()));
  check(av_new_packet(converted.get(), kMostBytes));
  const int size =
      check(avcodec_encode_subtitle(encoder_.get(), converted->data, kMostBytes, &subtitle));
  av_shrink_packet(converted.get(), size);
  const bool knowsDuration = packet.duration > 0 || shown == UINT32_MAX;
  converted->pts = converted->dts = packet.pts;
  converted->duration =
      knowsDuration ? packet.duration : av_rescale_q(shown, kMilliseconds, timeBase_);
  converted->stream_index = packet.stream_index;
  return converted;
}

} // namespace tlux::app

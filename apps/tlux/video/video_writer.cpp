#include "video/video_writer.hpp"

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "base/errors.hpp"

namespace tlux::app {

namespace {

constexpr AVRational kUsualRate = {25, 1};

const AVCodec& findEncoder(const std::string& name) {
  const AVCodec* encoder = avcodec_find_encoder_by_name(name.c_str());
  if (encoder == nullptr) throw std::runtime_error("this FFmpeg has no encoder " + name);
  return *encoder;
}

/** Transport streams may start at any time; elsewhere that would cause a pause at the start. */
void startAtZero(const AVFormatContext& source, AVFormatContext& target) {
  const bool sourceBeginsAnywhere = (source.iformat->flags & AVFMT_TS_DISCONT) != 0;
  const bool targetDoes = (target.oformat->flags & AVFMT_TS_DISCONT) != 0;
  if (sourceBeginsAnywhere && !targetDoes && source.start_time != AV_NOPTS_VALUE) {
    target.output_ts_offset = -source.start_time;
  }
}

/** Players that start while loading need the index at the start. */
void setIndexPlace(const AVFormatContext& container, AVDictionary** options) {
  if (!isMp4(*container.oformat)) return;
  const bool canGoBack = (container.pb->seekable & AVIO_SEEKABLE_NORMAL) != 0;
  av_dict_set(options, "movflags", canGoBack ? "+faststart" : "+frag_keyframe+empty_moov", 0);
}

void setPreset(AVCodecContext& encoder, const std::string& preset) {
  if (preset.empty()) return;
  const int result = av_opt_set(encoder.priv_data, "preset", preset.c_str(), 0);
  if (result == AVERROR_OPTION_NOT_FOUND) {
    throw std::runtime_error(std::string("the encoder ") + encoder.codec->name + " has no presets");
  }
  check(result);
}

bool isInterlaced(AVFieldOrder order) {
  return order != AV_FIELD_UNKNOWN && order != AV_FIELD_PROGRESSIVE;
}

} // namespace

VideoWriter::VideoWriter(const std::filesystem::path& file, const VideoFormat& format,
                         const WritingOptions& options, const StreamProperties& properties)
    : file_(file),
      properties_(properties),
      output_(file),
      packet_(checkAllocated(av_packet_alloc())) {
  attempt([&] { open(format, options); });
}

template <typename Work>
void VideoWriter::attempt(Work work) {
  try {
    work();
  } catch (const AvError& error) {
    throw Error(ExitCode::kFailed, file_.string(), std::string("cannot write: ") + error.what());
  } catch (const Error&) {
    throw;
  } catch (const std::runtime_error& error) {
    throw Error(ExitCode::kFailed, file_.string(), error.what());
  }
}

void VideoWriter::open(const VideoFormat& format, const WritingOptions& options) {
  AVFormatContext* container = nullptr;
  check(avformat_alloc_output_context2(&container, nullptr, format.muxer, output_.url().c_str()));
  container_.reset(container);
  AVIOContext* io = nullptr;
  check(avio_open(&io, output_.url().c_str(), AVIO_FLAG_WRITE));
  io_.reset(io);
  container_->pb = io;

  const AVCodec& encoder = findEncoder(
      options.encoder.empty() ? usualEncoder(format, properties_.bits) : options.encoder);
  encoder_.reset(checkAllocated(avcodec_alloc_context3(&encoder)));
  openEncoder(format, options);
  addVideoStream(format);
  if (properties_.container != nullptr) {
    startAtZero(*properties_.container, *container_);
    copyContainerDescription(*properties_.container, *container_);
    copies_.emplace(*properties_.container, properties_.stream, *container_);
  }
  // Copied streams stay even where a muxer calls them experimental, such as FLAC in MP4.
  container_->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
  AVDictionary* muxing = nullptr;
  setIndexPlace(*container_, &muxing);
  const int result = avformat_write_header(container_.get(), &muxing);
  av_dict_free(&muxing);
  check(result);
}

void VideoWriter::openEncoder(const VideoFormat& format, const WritingOptions& options) {
  AVCodecContext& encoder = *encoder_;
  const StreamProperties& p = properties_;
  encoder.width = p.width;
  encoder.height = p.height;
  encoder.pix_fmt = chooseLayout(*encoder.codec, p, options.wholeChroma);
  // An encoder whose only 4:2:0 layout is full range really encodes full range.
  const AVColorRange range = encoder.pix_fmt == AV_PIX_FMT_YUVJ420P ? AVCOL_RANGE_JPEG : p.range;
  encoder.color_range = range;
  encoder.colorspace = isRgbLayout(encoder.pix_fmt) ? AVCOL_SPC_RGB : p.matrix;
  encoder.color_primaries = p.primaries;
  encoder.color_trc = p.transfer;
  encoder.chroma_sample_location = p.chromaLocation;
  encoder.sample_aspect_ratio = p.sampleAspect;
  encoder.field_order = p.fieldOrder;
  if (isInterlaced(p.fieldOrder)) {
    encoder.flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
  }
  const bool knowsRate = p.frameRate.num > 0 && p.frameRate.den > 0;
  encoder.framerate = knowsRate ? p.frameRate : kUsualRate;
  const bool keepsTimes = format.keepsTimes && traitsOf(*encoder.codec).takesAnyTimes;
  encoder.time_base = keepsTimes ? p.timeBase : av_inv_q(encoder.framerate);
  if ((container_->oformat->flags & AVFMT_GLOBALHEADER) != 0) {
    encoder.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  }
  // Without timestamps, frames must be stored in display order.
  if (!format.keepsTimes) encoder.max_b_frames = 0;
  encoder.thread_count = options.threads;
  setVideoQuality(encoder, options.quality);
  setPreset(encoder, options.preset);
  check(avcodec_open2(&encoder, nullptr, nullptr));
  exporter_.emplace(encoder.pix_fmt, p.width, p.height, range);
}

void VideoWriter::addVideoStream(const VideoFormat& format) {
  stream_ = checkAllocated(avformat_new_stream(container_.get(), nullptr));
  check(avcodec_parameters_from_context(stream_->codecpar, encoder_.get()));
  // Not all players support the other tag for this codec.
  const bool isHevc = encoder_->codec_id == AV_CODEC_ID_HEVC;
  if (isHevc && isMp4(*container_->oformat)) {
    stream_->codecpar->codec_tag = MKTAG('h', 'v', 'c', '1');
  }
  stream_->time_base = encoder_->time_base;
  stream_->avg_frame_rate = encoder_->framerate;
  stream_->sample_aspect_ratio = encoder_->sample_aspect_ratio;
  if (properties_.container == nullptr) return;
  const AVStream& from = *properties_.container->streams[properties_.stream];
  copyStreamDescription(from, *stream_);
  av_dict_set(&stream_->metadata, "encoder", nullptr, 0);
  if (format.keepsRotation) copySideData(from, *stream_, AV_PKT_DATA_DISPLAYMATRIX);
  for (const AVPacketSideDataType type :
       {AV_PKT_DATA_STEREO3D, AV_PKT_DATA_SPHERICAL, AV_PKT_DATA_MASTERING_DISPLAY_METADATA,
        AV_PKT_DATA_CONTENT_LIGHT_LEVEL}) {
    copySideData(from, *stream_, type);
  }
}

void VideoWriter::write(Portion portion) {
  attempt([&] {
    for (const PacketPtr& packet : portion.packets) {
      if (copies_) copies_->write(*packet);
    }
    if (portion.frame != nullptr) encode(std::move(portion.frame));
  });
}

void VideoWriter::encode(FramePtr frame) {
  frame = exporter_->exportFrame(std::move(frame));
  // Lets the encoder choose its own key frames.
  frame->pict_type = AV_PICTURE_TYPE_NONE;
  frame->key_frame = 0;
  frame->quality = encoder_->global_quality;
  frame->pts =
      std::max(nextPts_, av_rescale_q(frame->pts, properties_.timeBase, encoder_->time_base));
  frame->pkt_duration =
      av_rescale_q(frame->pkt_duration, properties_.timeBase, encoder_->time_base);
  nextPts_ = frame->pts + 1;
  durations_[frame->pts] = frame->pkt_duration;
  check(avcodec_send_frame(encoder_.get(), frame.get()));
  drain();
}

void VideoWriter::drain() {
  while (true) {
    const int result = avcodec_receive_packet(encoder_.get(), packet_.get());
    if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
    check(result);
    const auto duration = durations_.extract(packet_->pts);
    if (packet_->duration == 0 && !duration.empty()) packet_->duration = duration.mapped();
    av_packet_rescale_ts(packet_.get(), encoder_->time_base, stream_->time_base);
    packet_->stream_index = stream_->index;
    check(av_interleaved_write_frame(container_.get(), packet_.get()));
  }
}

void VideoWriter::finish() {
  attempt([&] {
    check(avcodec_send_frame(encoder_.get(), nullptr));
    drain();
    check(av_write_trailer(container_.get()));
    check(avio_close(io_.release()));
    output_.publish();
  });
}

std::string VideoWriter::describeDepth() const {
  const int kept = av_pix_fmt_desc_get(encoder_->pix_fmt)->comp[0].depth;
  if (kept <= 8)
    return fmt::format("the source's {} bits per sample are reduced to 8", properties_.bits);
  return fmt::format("tones are computed in 8 bits and stored in {}", kept);
}

std::vector<std::string> VideoWriter::remarks() const {
  std::vector<std::string> remarks = copies_ ? copies_->remarks() : std::vector<std::string>();
  if (properties_.bits > 8) remarks.push_back(describeDepth());
  return remarks;
}

} // namespace tlux::app

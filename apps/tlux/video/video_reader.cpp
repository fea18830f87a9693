#include "video/video_reader.hpp"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "media/alpha.hpp"

namespace tlux::app {

namespace {

constexpr AVRational kContainerTime = {1, AV_TIME_BASE};

int findVideoStream(AVFormatContext& container) {
  check(avformat_find_stream_info(&container, nullptr));
  const int index = av_find_best_stream(&container, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  const bool isVideo =
      index >= 0 && (container.streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
  if (!isVideo) throw std::runtime_error("contains no video");
  return index;
}

bool isDamaged(const AVFrame& frame) {
  return (frame.flags & AV_FRAME_FLAG_CORRUPT) != 0 || frame.decode_error_flags != 0;
}

Orientation orientationOf(const AVStream& stream) {
  const FramePtr carrier = makeFrame();
  size_t size = 0;
  const uint8_t* matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
  if (matrix == nullptr) return {};
  const AVFrameSideData* copy =
      checkAllocated(av_frame_new_side_data(carrier.get(), AV_FRAME_DATA_DISPLAYMATRIX, size));
  std::memcpy(copy->data, matrix, size);
  return app::orientationOf(*carrier);
}

int64_t expectedFrames(const AVFormatContext& container, const AVStream& stream,
                       AVRational frameRate) {
  if (stream.nb_frames > 0) return stream.nb_frames;
  if (container.duration <= 0 || frameRate.num <= 0) return 0;
  return av_rescale_q(container.duration, kContainerTime, av_inv_q(frameRate));
}

} // namespace

VideoReader::VideoReader(const std::filesystem::path& file, const ReadingOptions& options)
    : file_(file), isStrict_(options.isStrict) {
  checkReadable(file);
  try {
    open(options);
  } catch (const AvError& error) {
    throw unreadable(file, std::string("cannot be decoded: ") + error.what());
  } catch (const std::runtime_error& error) {
    throw unreadable(file, error.what());
  }
}

void VideoReader::open(const ReadingOptions& options) {
  container_ = openByContent(file_);
  if (container_.format == nullptr)
    throw std::runtime_error("cannot be decoded: " + container_.reason);
  properties_.container = container_.format.get();
  properties_.stream = findVideoStream(*container_.format);
  openDecoder(options.threads);
  holdsFirst_ = decode(packetsBeforeFirst_);
  if (!holdsFirst_) throw std::runtime_error("contains no frame that can be decoded");
  const Orientation orientation = options.turnsUpright ? orientationOf(stream()) : Orientation{};
  describe(*decoded_, orientation);
  const bool isFullRange = options.fullRange || isRgbLayout(decoded_->format);
  importer_.emplace(*decoded_, orientation, isFullRange ? AVCOL_RANGE_JPEG : properties_.range);
}

void VideoReader::openDecoder(int threads) {
  decoder_ = makeDecoder(*stream().codecpar);
  decoder_->pkt_timebase = stream().time_base;
  decoder_->thread_count = threads;
  check(avcodec_open2(decoder_.get(), nullptr, nullptr));
}

void VideoReader::describe(const AVFrame& first, Orientation orientation) {
  AVFormatContext* container = container_.format.get();
  StreamProperties& p = properties_;
  p.width = orientation.exchangeAxes ? first.height : first.width;
  p.height = orientation.exchangeAxes ? first.width : first.height;
  p.timeBase = stream().time_base;
  p.frameRate = av_guess_frame_rate(container, &stream(), nullptr);
  p.sampleAspect = av_guess_sample_aspect_ratio(container, &stream(), decoded_.get());
  if (orientation.exchangeAxes && p.sampleAspect.num > 0) p.sampleAspect = av_inv_q(p.sampleAspect);
  // RGB has no range; videos are usually limited.
  const bool isRgb = isRgbLayout(first.format);
  p.range = isRgb ? AVCOL_RANGE_MPEG : colorEncodingOf(first).range;
  p.matrix = isRgb ? AVCOL_SPC_BT470BG : first.colorspace;
  p.primaries = first.color_primaries;
  p.transfer = first.color_trc;
  p.chromaLocation = first.chroma_location;
  p.fieldOrder = stream().codecpar->field_order;
  p.frameCount = expectedFrames(*container, stream(), p.frameRate);
  const AVPixFmtDescriptor& layout = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(first.format));
  p.bits = layout.comp[0].depth;
  if (extractAlpha(first) != nullptr) remarks_.emplace_back("its transparency is dropped");
}

bool VideoReader::read(Portion& portion) {
  try {
    portion.packets = std::exchange(packetsBeforeFirst_, {});
    if (!std::exchange(holdsFirst_, false) && !decode(portion.packets)) {
      return !portion.packets.empty();
    }
    portion.frame = importer_->import(*decoded_);
    setTimes(*portion.frame);
    return true;
  } catch (const AvError& error) {
    throw unreadable(file_, std::string("cannot be decoded: ") + error.what());
  } catch (const std::runtime_error& error) {
    throw unreadable(file_, error.what());
  }
}

/** Decodes the next frame into decoded_; false at the end. Skips frames too damaged to decode. */
bool VideoReader::decode(std::vector<PacketPtr>& packets) {
  while (true) {
    const int result = avcodec_receive_frame(decoder_.get(), decoded_.get());
    if (result >= 0) {
      if (isDamaged(*decoded_)) noteDamage();
      return true;
    }
    if (result == AVERROR_EOF) return false;
    if (result != AVERROR(EAGAIN)) {
      if (result != AVERROR_INVALIDDATA) check(result);
      noteDamage();
    }
    if (!feed(packets)) return false;
  }
}

/** Feeds the decoder a packet or the end of the stream; false if it was at the end already. */
bool VideoReader::feed(std::vector<PacketPtr>& packets) {
  if (packetsEnded_) return false;
  while (true) {
    PacketPtr packet(checkAllocated(av_packet_alloc()));
    const int result = av_read_frame(container_.format.get(), packet.get());
    if (result == AVERROR(EAGAIN)) continue;
    if (result < 0) {
      endOfPackets(result);
      return true;
    }
    remember(*packet);
    if (packet->stream_index != properties_.stream) {
      packets.push_back(std::move(packet));
      continue;
    }
    const int sent = avcodec_send_packet(decoder_.get(), packet.get());
    if (sent == AVERROR_INVALIDDATA) {
      noteDamage();
    } else {
      check(sent);
    }
    return true;
  }
}

void VideoReader::remember(const AVPacket& packet) {
  lastByte_ = packet.pos + packet.size;
  isLastCorrupt_ = (packet.flags & AV_PKT_FLAG_CORRUPT) != 0;
  const int64_t time = packet.pts == AV_NOPTS_VALUE ? packet.dts : packet.pts;
  if (time == AV_NOPTS_VALUE) return;
  const AVRational timeBase = container_.format->streams[packet.stream_index]->time_base;
  lastTime_ = std::max(lastTime_, av_rescale_q(time + packet.duration, timeBase, kContainerTime));
}

void VideoReader::noteDamage() {
  if (isStrict_) throw std::runtime_error("is damaged");
  ++damaged_;
}

void VideoReader::endOfPackets(int reason) {
  if (reason != AVERROR_EOF) check(reason);
  if (isCutShort()) {
    std::string remark =
        fmt::format("breaks off after {:.1f} s", static_cast<double>(lastTime_) / AV_TIME_BASE);
    if (isStrict_) throw std::runtime_error(remark);
    remarks_.push_back(std::move(remark));
  }
  packetsEnded_ = true;
  check(avcodec_send_packet(decoder_.get(), nullptr));
}

/** Most FFmpeg demuxers treat the end of a truncated file as the end of the video. */
bool VideoReader::isCutShort() const {
  const AVFormatContext& container = *container_.format;
  // Recordings of transport streams may end anywhere.
  if ((container.iformat->flags & AVFMT_TS_DISCONT) != 0) return false;
  if (isLastCorrupt_) return true;
  // This demuxer silently drops an incomplete frame.
  const bool isY4m = std::string_view(container.iformat->name) == "yuv4mpegpipe";
  if (isY4m) return avio_tell(container.pb) > lastByte_;
  const bool knowsDuration =
      container.duration > 0 && container.duration_estimation_method == AVFMT_DURATION_FROM_STREAM;
  if (!knowsDuration) return false;
  constexpr int64_t kTolerance = AV_TIME_BASE / 2;
  const int64_t start = container.start_time == AV_NOPTS_VALUE ? 0 : container.start_time;
  return lastTime_ + kTolerance < start + container.duration;
}

/** Frames need increasing times; some containers have none, and damaged ones repeat them. */
void VideoReader::setTimes(AVFrame& frame) {
  const AVRational& rate = properties_.frameRate;
  if (frame.pkt_duration <= 0 && rate.num > 0) {
    frame.pkt_duration = av_rescale_q(1, av_inv_q(rate), properties_.timeBase);
  }
  frame.pts = decoded_->best_effort_timestamp;
  if (frame.pts == AV_NOPTS_VALUE) {
    frame.pts = hasTimes_ ? lastPts_ + std::max<int64_t>(1, frame.pkt_duration) : 0;
  } else if (hasTimes_) {
    frame.pts = std::max(frame.pts, lastPts_ + 1);
  }
  lastPts_ = frame.pts;
  hasTimes_ = true;
}

std::vector<std::string> VideoReader::remarks() const {
  std::vector<std::string> remarks = remarks_;
  if (damaged_ > 0) remarks.push_back(fmt::format("{} of its frames are damaged", damaged_));
  return remarks;
}

} // namespace tlux::app

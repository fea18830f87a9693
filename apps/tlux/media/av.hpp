#pragma once

#include <cstdint> // UINT64_C, needed by the headers below

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libavutil/mem.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <new>
#include <stdexcept>
#include <string>

namespace tlux::app {

/** Deleter for the FFmpeg release functions that take a pointer to the caller's pointer. */
template <auto release>
struct Release {
  template <typename T>
  void operator()(T* object) const {
    release(&object);
  }
};

struct ReleaseCodec {
  void operator()(AVCodecContext* codec) const {
    av_freep(&codec->chroma_intra_matrix); // not freed by FFmpeg
    avcodec_free_context(&codec);
  }
};

struct ReleaseScaler {
  void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};

struct ReleaseOutput {
  void operator()(AVFormatContext* container) const { avformat_free_context(container); }
};

using FramePtr = std::unique_ptr<AVFrame, Release<av_frame_free>>;
using PacketPtr = std::unique_ptr<AVPacket, Release<av_packet_free>>;
using CodecPtr = std::unique_ptr<AVCodecContext, ReleaseCodec>;
using FormatPtr = std::unique_ptr<AVFormatContext, Release<avformat_close_input>>;
using OutputFormatPtr = std::unique_ptr<AVFormatContext, ReleaseOutput>;
using IoPtr = std::unique_ptr<AVIOContext, Release<avio_closep>>;
using ScalerPtr = std::unique_ptr<SwsContext, ReleaseScaler>;

/** A failure reported by FFmpeg, with the last message of its log. */
class AvError : public std::runtime_error {
 public:
  explicit AvError(int code);
};

inline int check(int code) {
  if (code < 0) throw AvError(code);
  return code;
}

template <typename T>
T* checkAllocated(T* object) {
  if (object == nullptr) throw std::bad_alloc();
  return object;
}

inline FramePtr makeFrame() {
  return FramePtr(checkAllocated(av_frame_alloc()));
}

/** A frame with its own pixels, rows aligned for any vector unit. */
FramePtr makeFrame(AVPixelFormat format, int width, int height);

/** Keeps FFmpeg from printing; its last error is remembered for AvError. */
void captureAvLog();

} // namespace tlux::app

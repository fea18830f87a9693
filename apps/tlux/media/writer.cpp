#include "media/writer.hpp"

extern "C" {
#include <libavutil/opt.h>
}

#include <span>
#include <string>

#include "errors.hpp"
#include "media/alpha.hpp"
#include "media/color_profile.hpp"
#include "media/jpeg_quality.hpp"
#include "output_file.hpp"

namespace tlux::app {

namespace {

bool keepsAlpha(const Picture& picture, const PictureFormat& format) {
  return picture.alpha != nullptr && format.alphaLayout != AV_PIX_FMT_NONE;
}

AVPixelFormat chooseLayout(const Picture& picture, const PictureFormat& format) {
  if (keepsAlpha(picture, format)) return format.alphaLayout;
  // Cutting off an odd margin would shift halved chroma by half a sample.
  const bool oddMargin = ((picture.frame->crop_left | picture.frame->crop_top) & 1) != 0;
  return oddMargin ? format.fullChromaLayout : format.opaqueLayout;
}

/** Cuts the margins off; a copy, because encoders want their rows aligned. */
FramePtr crop(FramePtr frame, const Picture& picture) {
  frame->crop_left = picture.frame->crop_left;
  frame->crop_top = picture.frame->crop_top;
  frame->crop_right = picture.frame->crop_right;
  frame->crop_bottom = picture.frame->crop_bottom;
  check(av_frame_apply_cropping(frame.get(), AV_FRAME_CROP_UNALIGNED));
  FramePtr cropped =
      makeFrame(static_cast<AVPixelFormat>(frame->format), frame->width, frame->height);
  check(av_frame_copy_props(cropped.get(), frame.get()));
  check(av_frame_copy(cropped.get(), frame.get()));
  return cropped;
}

FramePtr toEncoderLayout(const Picture& picture, const PictureFormat& format) {
  FramePtr frame =
      crop(convertTo(*picture.frame, chooseLayout(picture, format), format.encoding), picture);
  if (keepsAlpha(picture, format)) insertAlpha(*picture.alpha, *frame);
  frame->color_primaries = picture.frame->color_primaries;
  frame->color_trc = picture.frame->color_trc;
  copyColorProfile(*picture.frame, *frame);
  return frame;
}

void setOptions(AVCodecContext& encoder, int quality) {
  switch (encoder.codec_id) {
    case AV_CODEC_ID_PNG:
      // Less than half the time of the usual level 6 for a tenth more bytes.
      encoder.compression_level = 4;
      check(av_opt_set(encoder.priv_data, "pred", "mixed", 0));
      break;
    case AV_CODEC_ID_TIFF:
      check(av_opt_set(encoder.priv_data, "compression_algo", "lzw", 0));
      break;
    case AV_CODEC_ID_WEBP:
      check(av_opt_set_double(encoder.priv_data, "quality", quality, 0));
      break;
    case AV_CODEC_ID_MJPEG:
      setJpegQuality(encoder, quality);
      break;
    default:
      break;
  }
}

CodecPtr openEncoder(const AVFrame& frame, const PictureFormat& format, int quality) {
  const AVCodec* codec = avcodec_find_encoder_by_name(format.encoder);
  CodecPtr encoder(checkAllocated(avcodec_alloc_context3(codec)));
  encoder->width = frame.width;
  encoder->height = frame.height;
  encoder->pix_fmt = static_cast<AVPixelFormat>(frame.format);
  encoder->color_range = frame.color_range;
  encoder->colorspace = frame.colorspace;
  encoder->color_primaries = frame.color_primaries;
  encoder->color_trc = frame.color_trc;
  encoder->time_base = {1, 1};
  setOptions(*encoder, quality);
  check(avcodec_open2(encoder.get(), codec, nullptr));
  return encoder;
}

/** These encoders make a whole file out of one frame. */
PacketPtr encode(AVFrame& frame, const PictureFormat& format, int quality) {
  const CodecPtr encoder = openEncoder(frame, format, quality);
  frame.quality = encoder->global_quality;
  frame.pts = 0;
  check(avcodec_send_frame(encoder.get(), &frame));
  check(avcodec_send_frame(encoder.get(), nullptr));
  PacketPtr packet(checkAllocated(av_packet_alloc()));
  check(avcodec_receive_packet(encoder.get(), packet.get()));
  return packet;
}

} // namespace

PacketPtr encodePicture(const Picture& picture, const PictureFormat& format, int quality) {
  return encode(*toEncoderLayout(picture, format), format, quality);
}

void writePicture(const Picture& picture, const std::filesystem::path& file,
                  const PictureFormat& format, int quality) {
  PacketPtr packet;
  try {
    packet = encodePicture(picture, format, quality);
  } catch (const AvError& error) {
    throw Error(ExitCode::kFailed, file.string(), std::string("cannot encode: ") + error.what());
  }
  writeFileAtomically(file, std::span(packet->data, static_cast<size_t>(packet->size)));
}

} // namespace tlux::app

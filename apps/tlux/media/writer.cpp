#include "media/writer.hpp"

extern "C" {
#include <libavutil/opt.h>
}

#include <span>
#include <stdexcept>
#include <string>
#include <utility>

#include "base/errors.hpp"
#include "media/alpha.hpp"
#include "media/color_profile.hpp"
#include "media/heif_writer.hpp"
#include "media/jpeg_writer.hpp"
#include "media/jxl_boxes.hpp"
#include "output/output_file.hpp"

namespace tlux::app {

namespace {

bool keepsAlpha(const Picture& picture, const PictureFormat& format) {
  return picture.alpha != nullptr && format.alphaLayout != AV_PIX_FMT_NONE;
}

AVPixelFormat chooseLayout(const Picture& picture, const PictureFormat& format, bool wholeChroma) {
  // Cropping an odd margin would shift halved chroma by half a sample.
  wholeChroma |= ((picture.frame->crop_left | picture.frame->crop_top) & 1) != 0;
  if (keepsAlpha(picture, format)) {
    const bool isHalved = format.alphaLayout == AV_PIX_FMT_YUVA420P;
    return isHalved && wholeChroma ? AV_PIX_FMT_YUVA444P : format.alphaLayout;
  }
  return wholeChroma ? format.fullChromaLayout : format.opaqueLayout;
}

/** A copy without the margins; encoders need aligned rows. */
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

FramePtr toEncoderLayout(const Picture& picture, const PictureFormat& format, bool wholeChroma) {
  const AVPixelFormat layout = chooseLayout(picture, format, wholeChroma);
  FramePtr frame = crop(convertTo(*picture.frame, layout, format.encoding), picture);
  if (keepsAlpha(picture, format)) insertAlpha(*picture.alpha, *frame);
  frame->color_primaries = picture.frame->color_primaries;
  frame->color_trc = picture.frame->color_trc;
  copyColorProfile(*picture.frame, *frame);
  return frame;
}

/** Distance in just noticeable differences, with the same scale as the format's own tools. */
double jxlDistance(int quality) {
  if (quality >= 100) return 0;
  if (quality >= 30) return 0.1 + 0.09 * (100 - quality);
  return 53.0 / 3000 * quality * quality - 23.0 / 20 * quality + 25;
}

void setOptions(AVCodecContext& encoder, int quality) {
  switch (encoder.codec_id) {
    case AV_CODEC_ID_PNG:
      // Less than half the time of the default level 6, for a tenth more bytes.
      encoder.compression_level = 4;
      check(av_opt_set(encoder.priv_data, "pred", "mixed", 0));
      break;
    case AV_CODEC_ID_TIFF:
      check(av_opt_set(encoder.priv_data, "compression_algo", "lzw", 0));
      break;
    case AV_CODEC_ID_WEBP:
      check(av_opt_set_double(encoder.priv_data, "quality", quality, 0));
      break;
    case AV_CODEC_ID_JPEGXL:
      check(av_opt_set_double(encoder.priv_data, "distance", jxlDistance(quality), 0));
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

/** For encoders that turn one frame into a whole file. */
Bytes encodeByCodec(AVFrame& frame, const PictureFormat& format, int quality) {
  const CodecPtr encoder = openEncoder(frame, format, quality);
  frame.quality = encoder->global_quality;
  frame.pts = 0;
  check(avcodec_send_frame(encoder.get(), &frame));
  check(avcodec_send_frame(encoder.get(), nullptr));
  const PacketPtr packet(checkAllocated(av_packet_alloc()));
  check(avcodec_receive_packet(encoder.get(), packet.get()));
  return {packet->data, packet->data + packet->size};
}

/** The profile, if the encoder of this kind does not write it. */
std::span<const uint8_t> missingProfile(const AVFrame& frame, FileKind kind) {
  if (kind != FileKind::kWebp && kind != FileKind::kTiff) return {};
  const AVFrameSideData* profile = av_frame_get_side_data(&frame, AV_FRAME_DATA_ICC_PROFILE);
  if (profile == nullptr) return {};
  return {profile->data, profile->size};
}

Bytes addMetadata(Bytes file, const AVFrame& frame, const PictureFormat& format,
                  const Metadata* metadata) {
  const WrittenPicture written = {frame.width, frame.height, missingProfile(frame, format.kind)};
  switch (format.kind) {
    case FileKind::kJpeg:
    case FileKind::kPng:
    case FileKind::kWebp:
    case FileKind::kTiff:
      return embedMetadata(std::move(file), format.kind, metadata, written);
    case FileKind::kJpegXl:
      if (metadata == nullptr) return file;
      return addJxlBoxes(std::move(file), exifBlock(*metadata, written), xmpBlock(*metadata));
    default:
      return file;
  }
}

} // namespace

Bytes encodePicture(const Picture& picture, const PictureFormat& format,
                    const PictureEncoding& encoding) {
  const FramePtr frame = toEncoderLayout(picture, format, encoding.wholeChroma);
  const Metadata* metadata = picture.metadata.get();
  if (format.kind == FileKind::kHeif) {
    return encodeHeif(*frame, heifCodecOf(format), encoding.quality, metadata);
  }
  Bytes file = format.kind == FileKind::kJpeg ? encodeJpeg(*frame, encoding.quality)
                                              : encodeByCodec(*frame, format, encoding.quality);
  return addMetadata(std::move(file), *frame, format, metadata);
}

void writePicture(const Picture& picture, const std::filesystem::path& file,
                  const PictureFormat& format, const PictureEncoding& encoding) {
  Bytes content;
  try {
    content = encodePicture(picture, format, encoding);
  } catch (const AvError& error) {
    throw Error(ExitCode::kFailed, file.string(), std::string("cannot encode: ") + error.what());
  } catch (const std::runtime_error& error) {
    throw Error(ExitCode::kFailed, file.string(), error.what());
  }
  writeFileAtomically(file, content);
}

} // namespace tlux::app

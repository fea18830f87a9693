#include "media/heif_writer.hpp"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <libheif/heif.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

#include "media/heif_handles.hpp"

namespace tlux::app {

namespace {

heif_compression_format formatOf(HeifCodec codec) {
  return codec == HeifCodec::kAv1 ? heif_compression_AV1 : heif_compression_HEVC;
}

void checkHeif(const heif_error& error) {
  if (error.code == heif_error_Ok) return;
  throw std::runtime_error(std::string("cannot encode: ") + error.message);
}

void copyPlane(const AVFrame& frame, int plane, heif_image& image, heif_channel channel) {
  const AVPixFmtDescriptor& layout = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
  const bool isChroma = plane == 1 || plane == 2;
  const int width = AV_CEIL_RSHIFT(frame.width, isChroma ? layout.log2_chroma_w : 0);
  const int height = AV_CEIL_RSHIFT(frame.height, isChroma ? layout.log2_chroma_h : 0);
  checkHeif(heif_image_add_plane(&image, channel, width, height, 8));
  int pitch = 0;
  uint8_t* to = heif_image_get_plane(&image, channel, &pitch);
  const uint8_t* from = frame.data[plane];
  for (int y = 0; y < height; ++y, from += frame.linesize[plane], to += pitch) {
    std::copy(from, from + width, to);
  }
}

HeifNclxPtr describeColors(const AVFrame& frame) {
  HeifNclxPtr nclx(checkAllocated(heif_nclx_color_profile_alloc()));
  const auto orUsual = [](int value, int usual) {
    return value == 2 || value == 0 ? usual : value;
  };
  // Both sides use the numbers of ITU-T H.273, where 2 means unspecified.
  nclx->full_range_flag = 1;
  nclx->matrix_coefficients = static_cast<heif_matrix_coefficients>(orUsual(frame.colorspace, 6));
  nclx->color_primaries = static_cast<heif_color_primaries>(orUsual(frame.color_primaries, 1));
  nclx->transfer_characteristics =
      static_cast<heif_transfer_characteristics>(orUsual(frame.color_trc, 13));
  return nclx;
}

HeifImagePtr toImage(const AVFrame& frame, heif_color_profile_nclx& nclx) {
  const AVPixFmtDescriptor& layout = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
  heif_image* raw = nullptr;
  checkHeif(heif_image_create(frame.width, frame.height, heif_colorspace_YCbCr,
                              layout.log2_chroma_w == 0 ? heif_chroma_444 : heif_chroma_420, &raw));
  HeifImagePtr image(raw);
  constexpr heif_channel kChannels[] = {heif_channel_Y, heif_channel_Cb, heif_channel_Cr,
                                        heif_channel_Alpha};
  for (int plane = 0; plane < layout.nb_components; ++plane) {
    copyPlane(frame, plane, *image, kChannels[plane]);
  }
  checkHeif(heif_image_set_nclx_color_profile(image.get(), &nclx));
  const AVFrameSideData* profile = av_frame_get_side_data(&frame, AV_FRAME_DATA_ICC_PROFILE);
  if (profile != nullptr) {
    checkHeif(heif_image_set_raw_color_profile(image.get(), "prof", profile->data, profile->size));
  }
  return image;
}

HeifEncoderPtr openEncoder(heif_context& context, HeifCodec codec, int quality, bool wholeChroma) {
  heif_encoder* raw = nullptr;
  checkHeif(heif_context_get_encoder_for_format(&context, formatOf(codec), &raw));
  HeifEncoderPtr encoder(raw);
  checkHeif(heif_encoder_set_lossy_quality(encoder.get(), quality));
  checkHeif(
      heif_encoder_set_parameter_string(encoder.get(), "chroma", wholeChroma ? "444" : "420"));
  return encoder;
}

void addMetadata(heif_context& context, const heif_image_handle& handle, const Metadata& metadata,
                 const AVFrame& frame) {
  const Bytes exif = exifBlock(metadata, {frame.width, frame.height, {}});
  if (!exif.empty()) {
    checkHeif(heif_context_add_exif_metadata(&context, &handle, exif.data(),
                                             static_cast<int>(exif.size())));
  }
  const std::string xmp = xmpBlock(metadata);
  if (!xmp.empty()) {
    checkHeif(
        heif_context_add_XMP_metadata(&context, &handle, xmp.data(), static_cast<int>(xmp.size())));
  }
}

heif_error append(heif_context* /*context*/, const void* data, size_t size, void* target) {
  const auto* bytes = static_cast<const uint8_t*>(data);
  auto& content = *static_cast<Bytes*>(target);
  content.insert(content.end(), bytes, bytes + size);
  return {heif_error_Ok, heif_suberror_Unspecified, ""};
}

} // namespace

bool canEncodeHeif(HeifCodec codec) {
  return heif_have_encoder_for_format(formatOf(codec)) != 0;
}

Bytes encodeHeif(const AVFrame& frame, HeifCodec codec, int quality, const Metadata* metadata) {
  const HeifContextPtr context(checkAllocated(heif_context_alloc()));
  const HeifNclxPtr nclx = describeColors(frame);
  const HeifImagePtr image = toImage(frame, *nclx);
  const bool wholeChroma = heif_image_get_chroma_format(image.get()) == heif_chroma_444;
  const HeifEncoderPtr encoder = openEncoder(*context, codec, quality, wholeChroma);
  const HeifEncodingOptionsPtr options(checkAllocated(heif_encoding_options_alloc()));
  options->output_nclx_profile = nclx.get();
  options->save_two_colr_boxes_when_ICC_and_nclx_available = 1;
  heif_image_handle* raw = nullptr;
  checkHeif(
      heif_context_encode_image(context.get(), image.get(), encoder.get(), options.get(), &raw));
  const HeifHandlePtr handle(raw);
  if (metadata != nullptr) addMetadata(*context, *handle, *metadata, frame);
  Bytes content;
  heif_writer writer = {1, append};
  checkHeif(heif_context_write(context.get(), &writer, &content));
  return content;
}

} // namespace tlux::app

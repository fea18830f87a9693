#include "media/heif_reader.hpp"

#include <fmt/format.h>
#include <libheif/heif.h>

#include <stdexcept>
#include <string>

#include "media/heif_handles.hpp"

namespace tlux::app {

namespace {

void checkHeif(const heif_error& error) {
  if (error.code == heif_error_Ok) return;
  throw std::runtime_error(std::string("cannot be decoded: ") + error.message);
}

HeifHandlePtr openPrimary(heif_context& context, std::span<const uint8_t> content) {
  checkHeif(heif_context_read_from_memory_without_copy(&context, content.data(), content.size(),
                                                       nullptr));
  heif_image_handle* handle = nullptr;
  checkHeif(heif_context_get_primary_image_handle(&context, &handle));
  return HeifHandlePtr(handle);
}

/** As stored, but rotated; with transparency as 8-bit RGBA. */
HeifImagePtr decode(const heif_image_handle& handle) {
  const bool hasAlpha = heif_image_handle_has_alpha_channel(&handle) != 0;
  const HeifDecodingOptionsPtr options(heif_decoding_options_alloc());
  checkAllocated(options.get())->convert_hdr_to_8bit = hasAlpha ? 1 : 0;
  heif_image* image = nullptr;
  checkHeif(heif_decode_image(
      &handle, &image, hasAlpha ? heif_colorspace_RGB : heif_colorspace_YCbCr,
      hasAlpha ? heif_chroma_interleaved_RGBA : heif_chroma_undefined, options.get()));
  return HeifImagePtr(image);
}

AVPixelFormat layoutOf(const heif_image& image) {
  struct Layout {
    heif_chroma chroma;
    AVPixelFormat byBits[3]; // 8, 10, 12
  };
  constexpr Layout kLayouts[] = {
      {heif_chroma_monochrome, {AV_PIX_FMT_GRAY8, AV_PIX_FMT_GRAY10, AV_PIX_FMT_GRAY12}},
      {heif_chroma_420, {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P10, AV_PIX_FMT_YUV420P12}},
      {heif_chroma_422, {AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV422P10, AV_PIX_FMT_YUV422P12}},
      {heif_chroma_444, {AV_PIX_FMT_YUV444P, AV_PIX_FMT_YUV444P10, AV_PIX_FMT_YUV444P12}},
      {heif_chroma_interleaved_RGB, {AV_PIX_FMT_RGB24, AV_PIX_FMT_NONE, AV_PIX_FMT_NONE}},
      {heif_chroma_interleaved_RGBA, {AV_PIX_FMT_RGBA, AV_PIX_FMT_NONE, AV_PIX_FMT_NONE}},
  };
  const heif_chroma chroma = heif_image_get_chroma_format(&image);
  const bool isPacked =
      chroma == heif_chroma_interleaved_RGB || chroma == heif_chroma_interleaved_RGBA;
  if (!isPacked && heif_image_has_channel(&image, heif_channel_Y) == 0) return AV_PIX_FMT_NONE;
  const int bits = isPacked ? 8 : heif_image_get_bits_per_pixel_range(&image, heif_channel_Y);
  for (const Layout& layout : kLayouts) {
    const bool isKnown = bits == 8 || bits == 10 || bits == 12;
    if (layout.chroma == chroma && isKnown) return layout.byBits[(bits - 8) / 2];
  }
  return AV_PIX_FMT_NONE;
}

/** Copies the planes of an image whose chroma layout matches FFmpeg's. */
FramePtr toFrame(const heif_image& image) {
  const AVPixelFormat layout = layoutOf(image);
  if (layout == AV_PIX_FMT_NONE) throw std::runtime_error("its pixel layout is not supported");
  const bool isPacked = layout == AV_PIX_FMT_RGB24 || layout == AV_PIX_FMT_RGBA;
  const heif_channel channels[] = {isPacked ? heif_channel_interleaved : heif_channel_Y,
                                   heif_channel_Cb, heif_channel_Cr};
  const int width = heif_image_get_width(&image, channels[0]);
  const int height = heif_image_get_height(&image, channels[0]);
  FramePtr frame = makeFrame(layout, width, height);
  const FramePtr view = makeFrame();
  check(av_frame_copy_props(view.get(), frame.get()));
  view->format = layout;
  view->width = width;
  view->height = height;
  for (int plane = 0; plane < 3 && frame->data[plane] != nullptr; ++plane) {
    int pitch = 0;
    const uint8_t* data = heif_image_get_plane_readonly(&image, channels[plane], &pitch);
    if (data == nullptr) throw std::runtime_error("is missing a part of its picture");
    view->data[plane] = const_cast<uint8_t*>(data); // only read from
    view->linesize[plane] = pitch;
  }
  check(av_frame_copy(frame.get(), view.get()));
  return frame;
}

void describeColors(const heif_image& image, DecodedPicture& picture) {
  heif_color_profile_nclx* raw = nullptr;
  const bool isThere = heif_image_get_nclx_color_profile(&image, &raw).code == heif_error_Ok;
  const HeifNclxPtr nclx(raw);
  AVFrame& frame = *picture.frame;
  frame.color_range = AVCOL_RANGE_JPEG;
  frame.colorspace = AVCOL_SPC_BT470BG;
  if (!isThere || nclx == nullptr) return;
  // Both sides use the numbers of ITU-T H.273.
  frame.color_range = nclx->full_range_flag != 0 ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
  frame.colorspace = static_cast<AVColorSpace>(nclx->matrix_coefficients);
  frame.color_primaries = static_cast<AVColorPrimaries>(nclx->color_primaries);
  frame.color_trc = static_cast<AVColorTransferCharacteristic>(nclx->transfer_characteristics);
  if (frame.color_trc == AVCOL_TRC_SMPTE2084 || frame.color_trc == AVCOL_TRC_ARIB_STD_B67) {
    picture.remarks.emplace_back("its HDR tones are treated as ordinary ones");
  }
}

void attachProfile(const heif_image_handle& handle, AVFrame& frame) {
  const size_t size = heif_image_handle_get_raw_color_profile_size(&handle);
  if (size == 0) return;
  Bytes profile(size);
  checkHeif(heif_image_handle_get_raw_color_profile(&handle, profile.data()));
  setColorProfile(frame, profile.data(), profile.size());
}

Bytes metadataBlock(const heif_image_handle& handle, const char* type) {
  heif_item_id id = 0;
  if (heif_image_handle_get_list_of_metadata_block_IDs(&handle, type, &id, 1) != 1) return {};
  Bytes block(heif_image_handle_get_metadata_size(&handle, id));
  if (block.empty()) return {};
  if (heif_image_handle_get_metadata(&handle, id, block.data()).code != heif_error_Ok) return {};
  return block;
}

} // namespace

DecodedPicture readHeif(std::span<const uint8_t> content) {
  const HeifContextPtr context(checkAllocated(heif_context_alloc()));
  const HeifHandlePtr handle = openPrimary(*context, content);
  checkPictureSize(heif_image_handle_get_width(handle.get()),
                   heif_image_handle_get_height(handle.get()));
  const HeifImagePtr image = decode(*handle);
  DecodedPicture picture;
  picture.frame = toFrame(*image);
  describeColors(*image, picture);
  attachProfile(*handle, *picture.frame);
  const int count = heif_context_get_number_of_top_level_images(context.get());
  if (count > 1) {
    picture.remarks.push_back(fmt::format("it has {} pictures; only the main one is used", count));
  }
  const Bytes exif = metadataBlock(*handle, "Exif");
  const Bytes xmp = metadataBlock(*handle, "mime");
  picture.metadata = readMetadataBlocks(exif, xmp);
  return picture;
}

} // namespace tlux::app

#include "media/jpeg_reader.hpp"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <jerror.h>
#include <jpeglib.h>

#include "media/display_color.hpp"

namespace tlux::app {

namespace {

/** libjpeg leaves a failed call with longjmp, which must not skip any destructor. */
struct Decoder {
  jpeg_decompress_struct jpeg = {};
  jpeg_error_mgr errors = {};
  jpeg_progress_mgr progress = {};
  std::jmp_buf failure = {};
  char message[JMSG_LENGTH_MAX] = "";
  int code = 0;
  bool isDamaged = false;

  static Decoder& of(j_common_ptr jpeg) { return *static_cast<Decoder*>(jpeg->client_data); }

  ~Decoder() { jpeg_destroy_decompress(&jpeg); }
};

void leave(j_common_ptr jpeg) {
  Decoder& decoder = Decoder::of(jpeg);
  jpeg->err->format_message(jpeg, decoder.message);
  decoder.code = jpeg->err->msg_code;
  std::longjmp(decoder.failure, 1);
}

/** Missing or wrong data; other warnings are harmless. */
bool isDamage(int code) {
  switch (code) {
    case JWRN_HIT_MARKER:
    case JWRN_HUFF_BAD_CODE:
    case JWRN_JPEG_EOF:
    case JWRN_MUST_RESYNC:
      return true;
    default:
      return false;
  }
}

void noteWarning(j_common_ptr jpeg, int level) {
  Decoder& decoder = Decoder::of(jpeg);
  if (level >= 0 || decoder.isDamaged || !isDamage(jpeg->err->msg_code)) return;
  decoder.isDamaged = true;
  jpeg->err->format_message(jpeg, decoder.message);
}

/** Otherwise a small file with very many scans could keep the decoder busy for hours. */
void limitScans(j_common_ptr jpeg) {
  constexpr int kMostScans = 500;
  const auto* decompress = reinterpret_cast<const jpeg_decompress_struct*>(jpeg);
  if (decompress->input_scan_number > kMostScans) {
    jpeg->err->msg_code = JERR_NOTIMPL;
    leave(jpeg);
  }
}

bool prepare(Decoder& decoder, std::span<const uint8_t> content) {
  jpeg_decompress_struct& jpeg = decoder.jpeg;
  jpeg.err = jpeg_std_error(&decoder.errors);
  decoder.errors.error_exit = leave;
  decoder.errors.emit_message = noteWarning;
  decoder.progress.progress_monitor = limitScans;
  jpeg.client_data = &decoder;
  if (setjmp(decoder.failure) != 0) return false;
  jpeg_create_decompress(&jpeg);
  jpeg.client_data = &decoder;
  jpeg.progress = &decoder.progress;
  jpeg_mem_src(&jpeg, content.data(), static_cast<unsigned long>(content.size()));
  jpeg_save_markers(&jpeg, JPEG_APP0 + 1, 0xFFFF); // Exif
  jpeg_save_markers(&jpeg, JPEG_APP0 + 2, 0xFFFF); // profile
  return jpeg_read_header(&jpeg, TRUE) == JPEG_HEADER_OK;
}

/** The layout for the components as stored; none if they have to be converted. */
AVPixelFormat layoutOf(const jpeg_decompress_struct& jpeg) {
  if (jpeg.jpeg_color_space == JCS_GRAYSCALE) return AV_PIX_FMT_GRAY8;
  if (jpeg.jpeg_color_space != JCS_YCbCr || jpeg.num_components != 3) return AV_PIX_FMT_NONE;
  const jpeg_component_info* c = jpeg.comp_info;
  const bool isUsual = c[1].h_samp_factor == 1 && c[2].h_samp_factor == 1 &&
                       c[1].v_samp_factor == 1 && c[2].v_samp_factor == 1;
  if (!isUsual) return AV_PIX_FMT_NONE;
  switch (10 * c[0].h_samp_factor + c[0].v_samp_factor) {
    case 11:
      return AV_PIX_FMT_YUVJ444P;
    case 12:
      return AV_PIX_FMT_YUVJ440P;
    case 21:
      return AV_PIX_FMT_YUVJ422P;
    case 22:
      return AV_PIX_FMT_YUVJ420P;
    case 41:
      return AV_PIX_FMT_YUVJ411P;
    default:
      return AV_PIX_FMT_NONE;
  }
}

/** Stored samples come in whole blocks, which may extend past the picture. */
bool readStored(Decoder& decoder, AVFrame& frame) {
  constexpr int kMostRows = DCTSIZE * MAX_SAMP_FACTOR;
  JSAMPROW rows[3][kMostRows] = {};
  JSAMPARRAY planes[3] = {rows[0], rows[1], rows[2]};
  jpeg_decompress_struct& jpeg = decoder.jpeg;
  if (setjmp(decoder.failure) != 0) return false;
  jpeg.raw_data_out = TRUE;
  jpeg_start_decompress(&jpeg);
  while (jpeg.output_scanline < jpeg.output_height) {
    for (int plane = 0; plane < jpeg.num_components; ++plane) {
      const jpeg_component_info& component = jpeg.comp_info[plane];
      const int count = DCTSIZE * component.v_samp_factor;
      const auto top = static_cast<ptrdiff_t>(jpeg.output_scanline) * component.v_samp_factor /
                       jpeg.max_v_samp_factor;
      for (int y = 0; y < count; ++y) {
        rows[plane][y] = frame.data[plane] + (top + y) * frame.linesize[plane];
      }
    }
    jpeg_read_raw_data(&jpeg, planes, static_cast<JDIMENSION>(DCTSIZE * jpeg.max_v_samp_factor));
  }
  jpeg_finish_decompress(&jpeg);
  return true;
}

/** Samples as converted by libjpeg, to RGB or CMYK. */
bool readConverted(Decoder& decoder, J_COLOR_SPACE space, uint8_t* samples, ptrdiff_t rowBytes) {
  jpeg_decompress_struct& jpeg = decoder.jpeg;
  if (setjmp(decoder.failure) != 0) return false;
  jpeg.out_color_space = space;
  jpeg_start_decompress(&jpeg);
  while (jpeg.output_scanline < jpeg.output_height) {
    JSAMPROW row = samples + rowBytes * static_cast<ptrdiff_t>(jpeg.output_scanline);
    jpeg_read_scanlines(&jpeg, &row, 1);
  }
  jpeg_finish_decompress(&jpeg);
  return true;
}

std::vector<uint8_t> profileOf(Decoder& decoder) {
  JOCTET* data = nullptr;
  unsigned int size = 0;
  if (jpeg_read_icc_profile(&decoder.jpeg, &data, &size) == FALSE) return {};
  std::vector<uint8_t> profile(data, data + size);
  std::free(data); // allocated by libjpeg with malloc
  return profile;
}

[[noreturn]] void fail(const Decoder& decoder) {
  throw std::runtime_error(std::string("cannot be decoded: ") + decoder.message);
}

FramePtr readGrayOrChroma(Decoder& decoder, AVPixelFormat layout) {
  const auto width = static_cast<int>(decoder.jpeg.image_width);
  const auto height = static_cast<int>(decoder.jpeg.image_height);
  // Leaves room for whole blocks at the right and bottom.
  constexpr int kMostOfABlock = DCTSIZE * MAX_SAMP_FACTOR;
  FramePtr frame = makeFrame(layout, FFALIGN(width, kMostOfABlock), FFALIGN(height, kMostOfABlock));
  frame->width = width;
  frame->height = height;
  frame->color_range = AVCOL_RANGE_JPEG;
  frame->colorspace = AVCOL_SPC_BT470BG;
  frame->chroma_location = AVCHROMA_LOC_CENTER;
  if (!readStored(decoder, *frame)) fail(decoder);
  return frame;
}

FramePtr readRgb(Decoder& decoder) {
  FramePtr frame = makeFrame(AV_PIX_FMT_RGB24, static_cast<int>(decoder.jpeg.image_width),
                             static_cast<int>(decoder.jpeg.image_height));
  if (!readConverted(decoder, JCS_RGB, frame->data[0], frame->linesize[0])) fail(decoder);
  return frame;
}

FramePtr readInks(Decoder& decoder, std::span<const uint8_t> profile) {
  const size_t rowBytes = size_t{4} * decoder.jpeg.image_width;
  std::vector<uint8_t> samples(rowBytes * decoder.jpeg.image_height);
  if (!readConverted(decoder, JCS_CMYK, samples.data(), static_cast<ptrdiff_t>(rowBytes))) {
    fail(decoder);
  }
  // Programs that write the Adobe marker store inverted inks.
  return inkToRgb({samples.data(), static_cast<int>(decoder.jpeg.image_width),
                   static_cast<int>(decoder.jpeg.image_height), 1, 4,
                   decoder.jpeg.saw_Adobe_marker != FALSE, profile});
}

} // namespace

std::optional<DecodedPicture> readJpeg(std::span<const uint8_t> content) {
  Decoder decoder;
  if (!prepare(decoder, content)) {
    const bool isUnknownKind =
        decoder.code == JERR_SOF_UNSUPPORTED || decoder.code == JERR_BAD_PRECISION;
    if (isUnknownKind) return std::nullopt;
    fail(decoder);
  }
  checkPictureSize(decoder.jpeg.image_width, decoder.jpeg.image_height);
  const std::vector<uint8_t> profile = profileOf(decoder);
  const AVPixelFormat layout = layoutOf(decoder.jpeg);
  DecodedPicture picture;
  if (layout != AV_PIX_FMT_NONE) {
    picture.frame = readGrayOrChroma(decoder, layout);
  } else if (decoder.jpeg.num_components == 4) {
    if (profile.empty()) picture.remarks.emplace_back(kNoInkProfile);
    picture.frame = readInks(decoder, profile);
  } else {
    picture.frame = readRgb(decoder);
  }
  if (decoder.jpeg.num_components != 4) {
    setColorProfile(*picture.frame, profile.data(), profile.size());
  }
  if (decoder.isDamaged) picture.damage = decoder.message;
  return picture;
}

} // namespace tlux::app

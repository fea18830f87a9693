#include "media/jpeg_writer.hpp"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include <jpeglib.h>

namespace tlux::app {

namespace {

/** libjpeg leaves a failed call with longjmp, which must not skip any destructor. */
struct Encoder {
  jpeg_compress_struct jpeg = {};
  jpeg_error_mgr errors = {};
  std::jmp_buf failure = {};
  char message[JMSG_LENGTH_MAX] = "";
  unsigned char* content = nullptr;
  unsigned long size = 0;

  ~Encoder() {
    jpeg_destroy_compress(&jpeg);
    std::free(content); // allocated by libjpeg with malloc
  }
};

void leave(j_common_ptr jpeg) {
  Encoder& encoder = *static_cast<Encoder*>(jpeg->client_data);
  jpeg->err->format_message(jpeg, encoder.message);
  std::longjmp(encoder.failure, 1);
}

void ignoreWarning(j_common_ptr /*jpeg*/, int /*level*/) {}

void describe(jpeg_compress_struct& jpeg, const AVFrame& frame, int quality) {
  const AVPixFmtDescriptor& layout = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
  jpeg.image_width = static_cast<JDIMENSION>(frame.width);
  jpeg.image_height = static_cast<JDIMENSION>(frame.height);
  jpeg.input_components = layout.nb_components;
  jpeg.in_color_space = layout.nb_components == 1 ? JCS_GRAYSCALE : JCS_YCbCr;
  jpeg_set_defaults(&jpeg);
  jpeg_set_quality(&jpeg, quality, TRUE);
  jpeg_simple_progression(&jpeg);
  jpeg.comp_info[0].h_samp_factor = 1 << layout.log2_chroma_w;
  jpeg.comp_info[0].v_samp_factor = 1 << layout.log2_chroma_h;
  jpeg.raw_data_in = TRUE;
}

/** Rows below the picture repeat its last one; columns to its right are the frame's padding. */
void writeRows(jpeg_compress_struct& jpeg, const AVFrame& frame) {
  constexpr int kMostRows = DCTSIZE * MAX_SAMP_FACTOR;
  JSAMPROW rows[3][kMostRows] = {};
  JSAMPARRAY planes[3] = {rows[0], rows[1], rows[2]};
  const int most = jpeg.comp_info[0].v_samp_factor;
  while (jpeg.next_scanline < jpeg.image_height) {
    for (int plane = 0; plane < jpeg.num_components; ++plane) {
      const int factor = jpeg.comp_info[plane].v_samp_factor;
      const int top = static_cast<int>(jpeg.next_scanline) * factor / most;
      const int last = (frame.height * factor + most - 1) / most - 1;
      for (int y = 0; y < DCTSIZE * factor; ++y) {
        rows[plane][y] =
            frame.data[plane] + ptrdiff_t{std::min(top + y, last)} * frame.linesize[plane];
      }
    }
    jpeg_write_raw_data(&jpeg, planes, static_cast<JDIMENSION>(DCTSIZE * most));
  }
}

bool encode(Encoder& encoder, const AVFrame& frame, int quality) {
  jpeg_compress_struct& jpeg = encoder.jpeg;
  jpeg.err = jpeg_std_error(&encoder.errors);
  encoder.errors.error_exit = leave;
  encoder.errors.emit_message = ignoreWarning;
  jpeg.client_data = &encoder;
  if (setjmp(encoder.failure) != 0) return false;
  jpeg_create_compress(&jpeg);
  jpeg.client_data = &encoder;
  jpeg_mem_dest(&jpeg, &encoder.content, &encoder.size);
  describe(jpeg, frame, quality);
  jpeg_start_compress(&jpeg, TRUE);
  const AVFrameSideData* profile = av_frame_get_side_data(&frame, AV_FRAME_DATA_ICC_PROFILE);
  if (profile != nullptr) {
    jpeg_write_icc_profile(&jpeg, profile->data, static_cast<unsigned int>(profile->size));
  }
  writeRows(jpeg, frame);
  jpeg_finish_compress(&jpeg);
  return true;
}

/** The frame with its last column repeated up to whole blocks, since the encoder reads them. */
FramePtr extendColumns(const AVFrame& frame) {
  constexpr int kMostOfABlock = 2 * DCTSIZE;
  FramePtr extended = makeFrame(static_cast<AVPixelFormat>(frame.format),
                                FFALIGN(frame.width, kMostOfABlock), frame.height);
  const AVPixFmtDescriptor& layout = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
  for (int plane = 0; plane < layout.nb_components; ++plane) {
    const int shiftX = plane == 0 ? 0 : layout.log2_chroma_w;
    const int shiftY = plane == 0 ? 0 : layout.log2_chroma_h;
    const int width = AV_CEIL_RSHIFT(frame.width, shiftX);
    const int whole = AV_CEIL_RSHIFT(extended->width, shiftX);
    for (int y = 0; y < AV_CEIL_RSHIFT(frame.height, shiftY); ++y) {
      const uint8_t* from = frame.data[plane] + ptrdiff_t{y} * frame.linesize[plane];
      uint8_t* to = extended->data[plane] + ptrdiff_t{y} * extended->linesize[plane];
      std::copy(from, from + width, to);
      std::fill(to + width, to + whole, from[width - 1]);
    }
  }
  extended->width = frame.width;
  check(av_frame_copy_props(extended.get(), &frame));
  return extended;
}

} // namespace

Bytes encodeJpeg(const AVFrame& frame, int quality) {
  const FramePtr extended = extendColumns(frame);
  Encoder encoder;
  if (!encode(encoder, *extended, quality)) {
    throw std::runtime_error(std::string("cannot encode: ") + encoder.message);
  }
  return {encoder.content, encoder.content + encoder.size};
}

} // namespace tlux::app

#include "media/flat_picture.hpp"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <cstring>

namespace tlux::app {

namespace {

/** Whether each element equals the one before it, along rows and from row to row. */
bool isFlatPlane(const uint8_t* data, ptrdiff_t pitch, size_t rowBytes, int rows, size_t element) {
  for (int y = 0; y < rows; ++y) {
    const uint8_t* row = data + y * pitch;
    if (std::memcmp(row, data, element) != 0) return false;
    if (std::memcmp(row, row + element, rowBytes - element) != 0) return false;
  }
  return true;
}

} // namespace

bool isFlat(const AVFrame& frame) {
  const auto format = static_cast<AVPixelFormat>(frame.format);
  const AVPixFmtDescriptor& layout = *av_pix_fmt_desc_get(format);
  int steps[4] = {};
  av_image_fill_max_pixsteps(steps, nullptr, &layout);
  const bool isPacked = (layout.flags & (AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_PAL)) != 0;
  const int planes = isPacked ? 1 : av_pix_fmt_count_planes(format);
  for (int plane = 0; plane < planes; ++plane) {
    const bool isChroma = (plane == 1 || plane == 2) && planes > 1;
    const int rows = isChroma ? AV_CEIL_RSHIFT(frame.height, layout.log2_chroma_h) : frame.height;
    const int rowBytes = av_image_get_linesize(format, frame.width, plane);
    const auto element = static_cast<size_t>(steps[plane] > 0 ? steps[plane] : 1);
    if (rowBytes <= 0 || element > static_cast<size_t>(rowBytes)) return false;
    if (!isFlatPlane(frame.data[plane], frame.linesize[plane], static_cast<size_t>(rowBytes), rows,
                     element)) {
      return false;
    }
  }
  return true;
}

bool looksUndecoded(const AVFrame& frame, uint64_t fileBytes) {
  const auto format = static_cast<AVPixelFormat>(frame.format);
  const int whole = av_image_get_buffer_size(format, frame.width, frame.height, 1);
  const uint64_t pixels = static_cast<uint64_t>(frame.width) * static_cast<uint64_t>(frame.height);
  // Allows for metadata and for more than any codec spends on an empty picture.
  constexpr uint64_t kBesidesPixels = uint64_t{64} << 10;
  const bool isCompressed = whole > 0 && fileBytes < static_cast<uint64_t>(whole) / 10 * 9;
  return isCompressed && fileBytes > kBesidesPixels + pixels / 16 && isFlat(frame);
}

} // namespace tlux::app

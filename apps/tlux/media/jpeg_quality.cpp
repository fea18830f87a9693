#include "media/jpeg_quality.hpp"

extern "C" {
#include <libavutil/mem.h>
}

#include <algorithm>
#include <array>

namespace tlux::app {

namespace {

// ITU-T T.81, tables K.1 and K.2, in natural order.
constexpr std::array<int, 64> kLuma = {
    16, 11, 10, 16, 24,  40,  51,  61,  12, 12, 14, 19, 26,  58,  60,  55,
    14, 13, 16, 24, 40,  57,  69,  56,  14, 17, 22, 29, 51,  87,  80,  62,
    18, 22, 37, 56, 68,  109, 103, 77,  24, 35, 55, 64, 81,  104, 113, 92,
    49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99};
constexpr std::array<int, 64> kChroma = {
    17, 18, 24, 47, 99, 99, 99, 99, 18, 21, 26, 66, 99, 99, 99, 99, 24, 26, 56, 99, 99, 99,
    99, 99, 47, 66, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,
    99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99};

/** The scaling that libjpeg made customary: 50 leaves the tables as they are. */
uint16_t* scaledTable(const std::array<int, 64>& table, int quality) {
  const int percent = quality < 50 ? 5000 / quality : 200 - 2 * quality;
  auto* scaled =
      checkAllocated(static_cast<uint16_t*>(av_malloc_array(table.size(), sizeof(uint16_t))));
  std::transform(table.begin(), table.end(), scaled, [percent](int step) {
    return static_cast<uint16_t>(std::clamp((step * percent + 50) / 100, 1, 255));
  });
  return scaled;
}

} // namespace

void setJpegQuality(AVCodecContext& encoder, int quality) {
  // At scale 8 the encoder takes the tables as given; it keeps a step of 8 for the mean of a block,
  // one level of brightness.
  constexpr int kUnitScale = 8;
  encoder.flags |= AV_CODEC_FLAG_QSCALE;
  encoder.global_quality = kUnitScale * FF_QP2LAMBDA;
  encoder.intra_matrix = scaledTable(kLuma, quality);
  encoder.chroma_intra_matrix = scaledTable(kChroma, quality);
}

} // namespace tlux::app

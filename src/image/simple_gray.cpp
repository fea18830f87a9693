#include <algorithm>

#include "base/multiversion.hpp"
#include "image/bgr_chunk.hpp"
#include "image/simple_image.hpp"

namespace tlux::detail {
namespace {

// n / 100 for n up to 25500. 41944·100 exceeds 2^22 by 96, and 96·n stays below 2^22, so the
// product is too large by less than 1 / 100.
std::uint8_t hundredth(std::uint16_t n) {
  const auto upperHalf = static_cast<std::uint16_t>((std::uint32_t{n} * 41944u) >> 16);
  return static_cast<std::uint8_t>(upperHalf >> 6);
}

struct WeightedGray {
  std::uint8_t operator()(std::uint8_t b, std::uint8_t g, std::uint8_t r) const {
    return hundredth(static_cast<std::uint16_t>(11 * b + 59 * g + 30 * r));
  }
};

struct LargestChannel {
  std::uint8_t operator()(std::uint8_t b, std::uint8_t g, std::uint8_t r) const {
    return std::max(std::max(b, g), r);
  }
};

template <class Gray>
TLUX_INLINED void grayRow(std::uint8_t* to, const std::uint8_t* from, std::int32_t channels,
                          std::int32_t width, Gray gray) {
  forEachBgrChunk(from, channels, width,
                  [=](const BgrChunk& chunk, std::int64_t x) TLUX_INLINED_LAMBDA {
                    std::uint8_t* __restrict out = to + x;
                    for (std::int32_t i = 0; i < chunk.count; ++i) {
                      out[i] = gray(chunk.b[i], chunk.g[i], chunk.r[i]);
                    }
                  });
}

TLUX_MULTIVERSION void weightedGrayRow(std::uint8_t* to, const std::uint8_t* from,
                                       std::int32_t channels, std::int32_t width) {
  grayRow(to, from, channels, width, WeightedGray{});
}

TLUX_MULTIVERSION void largestChannelRow(std::uint8_t* to, const std::uint8_t* from,
                                         std::int32_t channels, std::int32_t width) {
  grayRow(to, from, channels, width, LargestChannel{});
}

using GrayRow = decltype(weightedGrayRow);

void toOneChannel(const img* source, const img* target, GrayRow* row) {
  if (source == nullptr || source->channels < 3) return;
  const std::int32_t width = source->width;
  if (!holds(source, source->height, std::int64_t{width} * source->channels)) return;
  if (!holds(target, source->height, width)) return;
  for (std::int32_t y = 0; y < source->height; ++y) {
    row(target->rows[y], source->rows[y], source->channels, width);
  }
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

void to_gray(const img* source, img* target) noexcept {
  toOneChannel(source, target, weightedGrayRow);
}

void to_maxgray(const img* source, img* target) noexcept {
  toOneChannel(source, target, largestChannelRow);
}

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/fixed_point.hpp"
#include "base/multiversion.hpp"
#include "image/bgr_chunk.hpp"
#include "tlux/resample.h"

namespace tlux::detail {
namespace {

constexpr std::int64_t align4(std::int64_t bytes) {
  return (bytes + 3) & ~std::int64_t{3};
}

// Full-range BT.601 in Q14.
TLUX_INLINED void convertPixel(std::int32_t b, std::int32_t g, std::int32_t r, std::uint8_t& luma,
                               std::uint8_t& cb, std::uint8_t& cr) {
  constexpr std::int32_t kHalf = 1 << 13;
  const std::int32_t y = (4899 * r + 9617 * g + 1868 * b + kHalf) >> 14; // at most 255
  luma = static_cast<std::uint8_t>(y);
  cb = clampToByte((((b - y) * 9241 + kHalf) >> 14) + 128);
  cr = clampToByte((((r - y) * 11682 + kHalf) >> 14) + 128);
}

// Truncated means over a sub-grid of a block; a single sample for no reduction.
template <int kFactor, int kRows, int kRowStep, int kColumns>
struct BlockMean {
  static constexpr int kBlock = kFactor;

  static std::int32_t channel(const std::uint8_t* sample, std::ptrdiff_t pitch) {
    std::int32_t sum = 0;
    for (int y = 0; y < kRows; ++y) {
      for (int x = 0; x < kColumns; ++x) {
        sum += sample[y * kRowStep * pitch + std::ptrdiff_t{6} * x];
      }
    }
    return sum / (kRows * kColumns);
  }
};
using Single = BlockMean<1, 1, 1, 1>;
using MeanOfFour = BlockMean<4, 2, 2, 2>;
using MeanOfEight = BlockMean<8, 2, 4, 4>;

template <class Block>
void convertRow(const std::uint8_t* __restrict bgr, std::ptrdiff_t pitch,
                std::uint8_t* __restrict luma, std::uint8_t* __restrict cb,
                std::uint8_t* __restrict cr, std::int64_t outputs) {
  for (std::int64_t x = 0; x < outputs; ++x) {
    const std::uint8_t* block = bgr + x * 3 * Block::kBlock;
    convertPixel(Block::channel(block, pitch), Block::channel(block + 1, pitch),
                 Block::channel(block + 2, pitch), luma[x], cb[x], cr[x]);
  }
}

// Every pixel, in runs with separated channels.
TLUX_MULTIVERSION void convertPixels(const std::uint8_t* bgr, std::uint8_t* luma, std::uint8_t* cb,
                                     std::uint8_t* cr, std::int32_t count) {
  forEachBgrChunk(bgr, 3, count, [=](const BgrChunk& chunk, std::int64_t x) TLUX_INLINED_LAMBDA {
    std::uint8_t* __restrict lumaRun = luma + x;
    std::uint8_t* __restrict cbRun = cb + x;
    std::uint8_t* __restrict crRun = cr + x;
    for (std::int32_t i = 0; i < chunk.count; ++i) {
      convertPixel(chunk.b[i], chunk.g[i], chunk.r[i], lumaRun[i], cbRun[i], crRun[i]);
    }
  });
}

template <>
void convertRow<Single>(const std::uint8_t* __restrict bgr, std::ptrdiff_t /*pitch*/,
                        std::uint8_t* __restrict luma, std::uint8_t* __restrict cb,
                        std::uint8_t* __restrict cr, std::int64_t outputs) {
  convertPixels(bgr, luma, cb, cr, static_cast<std::int32_t>(outputs));
}

struct RowChoice {
  int rowStep;     // rows between converted ones
  int columnsStep; // the number of outputs is rounded down to a multiple
};

template <class Block>
void convert(const std::uint8_t* source, std::int32_t width, std::int32_t height,
             std::uint8_t* destination, RowChoice choice) {
  if (source == nullptr || destination == nullptr || width < 1 || height < 1) return;
  const std::int64_t columns = width / Block::kBlock;
  const std::int64_t rows = height / Block::kBlock;
  const std::int64_t sourcePitch = align4(std::int64_t{3} * width);
  const std::int64_t pitch = align4(columns);
  const std::int64_t outputs = columns / choice.columnsStep * choice.columnsStep;
  for (std::int64_t y = 0; y < rows; y += choice.rowStep) {
    std::uint8_t* luma = destination + y * pitch;
    convertRow<Block>(source + y * Block::kBlock * sourcePitch, sourcePitch, luma,
                      luma + pitch * rows, luma + 2 * pitch * rows, outputs);
  }
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

void BGRToYCbCr444(const uint8_t* source, int32_t width, int32_t height,
                   uint8_t* destination) noexcept {
  convert<Single>(source, width, height, destination, {2, 2});
}

void ResampleImage4_BGRToYCbCr444(const uint8_t* source, int32_t width, int32_t height,
                                  uint8_t* destination) noexcept {
  convert<MeanOfFour>(source, width, height, destination, {1, 1});
}

void ResampleImage8_BGRToYCbCr444(const uint8_t* source, int32_t width, int32_t height,
                                  uint8_t* destination) noexcept {
  convert<MeanOfEight>(source, width, height, destination, {1, 1});
}

#pragma once

#include <algorithm>
#include <cstdint>

#include "base/multiversion.hpp"

namespace tlux::detail {

// A run of pixels with their first three channels separated. The arithmetic vectorises for any
// channel count, and since a run is finished before its results are stored, a row may be its own
// output.
struct BgrChunk {
  static constexpr std::int32_t kSize = 256;

  std::uint8_t b[kSize];
  std::uint8_t g[kSize];
  std::uint8_t r[kSize];
  std::int32_t count;

  TLUX_INLINED void load(const std::uint8_t* pixels, std::int32_t channels,
                         std::int32_t pixelCount) {
    count = pixelCount;
    switch (channels) {
      case 3:
        split(pixels, 3, pixelCount);
        break;
      case 4:
        split(pixels, 4, pixelCount);
        break;
      default:
        split(pixels, channels, pixelCount);
    }
  }

 private:
  TLUX_INLINED void split(const std::uint8_t* __restrict pixels, std::ptrdiff_t channels,
                          std::ptrdiff_t pixelCount) {
    for (std::ptrdiff_t i = 0; i < pixelCount; ++i) {
      b[i] = pixels[channels * i];
      g[i] = pixels[channels * i + 1];
      r[i] = pixels[channels * i + 2];
    }
  }
};

// Calls work(chunk, x) for each run of pixels of a row, x being its first pixel. Inlined so that it
// is part of each version of a multiversioned caller: AVX2 byte shuffles separate three channels
// several times faster.
template <class Work>
TLUX_INLINED void forEachBgrChunk(const std::uint8_t* row, std::int32_t channels,
                                  std::int32_t width, Work work) {
  BgrChunk chunk;
  for (std::int64_t x = 0; x < width; x += BgrChunk::kSize) {
    const std::int64_t count = std::min<std::int64_t>(width - x, BgrChunk::kSize);
    chunk.load(row + x * channels, channels, static_cast<std::int32_t>(count));
    work(chunk, x);
  }
}

} // namespace tlux::detail

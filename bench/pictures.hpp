#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <initializer_list>
#include <vector>

// Input of the benchmarks, and the sizes they run at.
//
// Names: Family/variant, and Family/variant/peer with the same arguments for the same work done by
// memcpy, opencv or libyuv. scripts/bench.py pairs them by that.
namespace bench {

inline std::uint32_t nextNoise(std::uint32_t& seed) {
  seed = seed * 1664525u + 1013904223u;
  return seed >> 24;
}

inline std::vector<std::uint8_t> noise(std::size_t bytes, std::uint32_t seed = 1) {
  std::vector<std::uint8_t> samples(bytes);
  for (std::uint8_t& sample : samples) {
    sample = static_cast<std::uint8_t>(nextNoise(seed));
  }
  return samples;
}

// A smooth scene with some noise, as from a camera.
inline std::vector<std::uint8_t> scene(int width, int height, int channels = 1,
                                       std::uint32_t seed = 1) {
  std::vector<std::uint8_t> samples;
  samples.reserve(static_cast<std::size_t>(width) * height * channels);
  for (int y = 0; y < height; ++y) {
    for (int i = 0; i < width * channels; ++i) {
      const int gradient = i / channels * 160 / width + y * 77 / height;
      samples.push_back(static_cast<std::uint8_t>(gradient + (nextNoise(seed) >> 4)));
    }
  }
  return samples;
}

// From small to 12 megapixels; further arguments follow the width and the height.
inline void frameSizes(benchmark::internal::Benchmark* family,
                       std::initializer_list<std::int64_t> further) {
  for (const auto& [width, height] : {std::pair{640, 480}, {1920, 1080}, {4000, 3000}}) {
    std::vector<std::int64_t> arguments{width, height};
    arguments.insert(arguments.end(), further);
    family->Args(arguments);
  }
  family->Unit(benchmark::kMillisecond);
}

inline void frameSizes(benchmark::internal::Benchmark* family) {
  frameSizes(family, {});
}

// Full HD with each of the values as the third argument, then every other size with the first one.
template <std::int64_t kFirst, std::int64_t... kOthers>
void sizesAnd(benchmark::internal::Benchmark* family) {
  frameSizes(family, {kFirst});
  (family->Args({1920, 1080, kOthers}), ...);
}

} // namespace bench

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "tlux/fast_guided_filter.h"
#include "tlux/tone.h"

// The full-resolution passes of a frame, compared with a copy of it as a lower bound.
namespace {

constexpr int kRadius = 16;
constexpr int kEps = 20;

// Smooth structure with some noise, so slopes and ratios vary as in a picture.
std::vector<std::uint8_t> picture(int width, int height, unsigned seed) {
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width) *
                                   static_cast<std::size_t>(height));
  std::uint32_t state = seed;
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    state = state * 1664525u + 1013904223u;
    const std::size_t x = i % static_cast<std::size_t>(width);
    pixels[i] = static_cast<std::uint8_t>((x / 8 + i / pixels.size() * 97 + (state >> 28)) % 256);
  }
  return pixels;
}

struct Frame {
  explicit Frame(const benchmark::State& state)
      : width(static_cast<int>(state.range(0))),
        height(static_cast<int>(state.range(1))),
        source(picture(width, height * 3 / 2, 1)),
        output(picture(width, height * 3 / 2, 2)) {}

  std::size_t lumaBytes() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  }

  int width;
  int height;
  std::vector<std::uint8_t> source;
  std::vector<std::uint8_t> output;
};

void copyFrame(benchmark::State& state) {
  Frame frame(state);
  for (auto _ : state) {
    std::memcpy(frame.output.data(), frame.source.data(), frame.source.size());
    benchmark::ClobberMemory();
  }
}

void fastGuideFilter(benchmark::State& state) {
  Frame frame(state);
  const int lowWidth = frame.width / 16 * 2;
  const int lowHeight = frame.height / 16 * 2;
  const auto guide = picture(lowWidth, lowHeight, 3);
  const auto input = picture(lowWidth, lowHeight, 4);
  for (auto _ : state) {
    benchmark::DoNotOptimize(FastGuideFilterMT(nullptr, input.data(), guide.data(),
                                               frame.source.data(), frame.output.data(), lowWidth,
                                               lowHeight, lowWidth, frame.width, kRadius, kEps));
  }
}

void scaleChroma(benchmark::State& state) {
  Frame frame(state);
  for (auto _ : state) {
    NV21NV12_Tone(frame.source.data(), frame.source.data() + frame.lumaBytes(), frame.output.data(),
                  frame.output.data() + frame.lumaBytes(), frame.height, frame.width, frame.width);
    benchmark::ClobberMemory();
  }
}

void frameSizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Args({1920, 1080})->Args({4000, 3000})->UseRealTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK(copyFrame)->Apply(frameSizes);
BENCHMARK(fastGuideFilter)->Apply(frameSizes);
BENCHMARK(scaleChroma)->Apply(frameSizes);

} // namespace

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "tlux/engine.h"

// A whole run beside a copy of the frame, which is the least that any stage of a camera costs.
namespace {

// Frames take turns, together larger than the caches, since a camera's frames start outside them.
constexpr std::size_t kRotationBytes = std::size_t{96} << 20;

class Frames {
 public:
  Frames(int width, int height) : width_(width), height_(height) {
    const std::size_t bytes = frameBytes();
    sources_.resize(kRotationBytes / bytes / 2 + 1);
    for (auto& frame : sources_) {
      frame.resize(bytes);
      // Shadow with texture, and a bright third.
      for (std::size_t i = 0; i < bytes; ++i) {
        const bool bright =
            i % static_cast<std::size_t>(width) > static_cast<std::size_t>(width) * 2 / 3;
        frame[i] = static_cast<std::uint8_t>((bright ? 190 : 20) + (i * 2654435761U >> 27 & 31));
      }
    }
    outputs_ = sources_;
  }

  std::size_t frameBytes() const {
    return static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_) * 3 / 2;
  }
  void advance() { turn_ = (turn_ + 1) % sources_.size(); }
  std::vector<std::uint8_t>& source() { return sources_[turn_]; }
  std::vector<std::uint8_t>& output() { return outputs_[turn_]; }
  TLUX_IMAGE record(std::vector<std::uint8_t>& frame) const {
    return {TLUX_FMT_YCBCR420_YPVU,
            width_,
            height_,
            {frame.data(), frame.data() + frame.size() * 2 / 3},
            {width_, width_}};
  }

 private:
  int width_;
  int height_;
  std::size_t turn_ = 0;
  std::vector<std::vector<std::uint8_t>> sources_;
  std::vector<std::vector<std::uint8_t>> outputs_;
};

void countPixels(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * state.range(0) * state.range(1));
}

void runFrame(benchmark::State& state) {
  Frames frames(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  TLUX_ENGINE* engine = nullptr;
  TLUX_Init(nullptr, &engine);
  const std::uint32_t strength = 50;
  for (auto _ : state) {
    TLUX_IMAGE source = frames.record(frames.source());
    TLUX_IMAGE output = frames.record(frames.output());
    const auto result =
        TLUX_RunDynamicRangeOptimizationImage(nullptr, engine, &source, 1, &output, &strength, 0);
    if (result != TLUX_OK) state.SkipWithError("the run failed");
    frames.advance();
  }
  TLUX_Uninit(nullptr, engine);
  countPixels(state);
}

void copyFrame(benchmark::State& state) {
  Frames frames(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  for (auto _ : state) {
    std::memcpy(frames.output().data(), frames.source().data(), frames.frameBytes());
    benchmark::ClobberMemory();
    frames.advance();
  }
  countPixels(state);
}

void frameSizes(benchmark::internal::Benchmark* family) {
  family->Args({640, 480})->Args({1920, 1080})->Args({3840, 2160})->Args({4000, 3000});
  family->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime(); // all threads
}

BENCHMARK(runFrame)->Name("Run")->Apply(frameSizes);
BENCHMARK(copyFrame)->Name("Run/memcpy")->Apply(frameSizes);

} // namespace

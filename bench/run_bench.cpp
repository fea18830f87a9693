#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>

#include "camera_frames.hpp"
#include "tlux/engine.h"

// A whole run compared with a copy of the frame, the least that any camera stage costs.
namespace {

void countPixels(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * state.range(0) * state.range(1));
}

void runFrame(benchmark::State& state) {
  CameraFrames frames(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
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
  CameraFrames frames(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
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

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "camera_frames.hpp"
#include "chroma/chroma_rule.hpp"
#include "platform/worker_team.hpp"
#include "score/score_reference.hpp"
#include "tlux/engine.h"
#include "tlux/fast_guided_filter.h"
#include "tlux/mark.h"
#include "tlux/resample.h"
#include "tone/map_reference.hpp"

// The stages of a run one by one, on frames that start outside the caches. In a run, filter and
// chroma are one pass. The team is started in advance, except for the filter's.
namespace {

constexpr std::int32_t kRadius = 16;
constexpr std::int32_t kEps = 20;

// A frame that has run once, so the engine has its reference frame, scores and gains.
struct Stage {
  explicit Stage(const benchmark::State& state)
      : frames(static_cast<int>(state.range(0)), static_cast<int>(state.range(1))) {
    TLUX_Init(nullptr, &engine);
    source = frames.record(frames.source());
    output = frames.record(frames.output());
    const std::uint32_t strength = 50;
    TLUX_RunDynamicRangeOptimizationImage(nullptr, engine, &source, 1, &output, &strength, 0);
    const TLUX_IMAGE& image = *engine->images[0];
    reference = {image.plane[0], image.width, image.height, image.pitch[0]};
    mapped.resize(static_cast<std::size_t>(image.pitch[0]) *
                  static_cast<std::size_t>(image.height));
    map();
  }
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;
  ~Stage() { TLUX_Uninit(nullptr, engine); }

  void reduce() { TLUX_ScaleCropImage(&source, engine->images[0], nullptr, 8); }
  void score() {
    benchmark::DoNotOptimize(tlux::detail::scoreReference(
        nullptr, team, reference, engine->degammaTable, engine->logGainMap));
  }
  void map() {
    tlux::detail::mapReference(reference, engine->logGainMap,
                               {{engine->degammaTable, engine->gammaTable}, engine->gainLut},
                               {mapped.data(), reference.width, reference.height, reference.pitch});
  }
  void filter() {
    FastGuideFilterMT(nullptr, mapped.data(), reference.data, source.plane[0], output.plane[0],
                      reference.width, reference.height, static_cast<std::int32_t>(reference.pitch),
                      output.pitch[0], kRadius, kEps);
  }
  void chroma() { tlux::detail::scaleChromaByLumaRatio(source, output); }
  void mark() { TLUX_EmbeddedMark(&output); }

  CameraFrames frames;
  TLUX_ENGINE* engine = nullptr;
  TLUX_IMAGE source;
  TLUX_IMAGE output;
  tlux::detail::Plane<const std::uint8_t> reference;
  std::vector<std::uint8_t> mapped;
  tlux::detail::WorkerTeam team;
};

template <void (Stage::*kStage)()>
void runStage(benchmark::State& state) {
  Stage stage(state);
  for (auto _ : state) {
    (stage.*kStage)();
    stage.frames.advance();
    stage.source = stage.frames.record(stage.frames.source());
    stage.output = stage.frames.record(stage.frames.output());
  }
}

void frameSizes(benchmark::internal::Benchmark* family) {
  family->Args({1920, 1080})->Args({3840, 2160})->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(runStage<&Stage::reduce>)->Name("Stage/reduce")->Apply(frameSizes);
BENCHMARK(runStage<&Stage::score>)->Name("Stage/score")->Apply(frameSizes);
BENCHMARK(runStage<&Stage::map>)->Name("Stage/map")->Apply(frameSizes);
BENCHMARK(runStage<&Stage::filter>)->Name("Stage/filter")->Apply(frameSizes);
BENCHMARK(runStage<&Stage::chroma>)->Name("Stage/chroma")->Apply(frameSizes);
BENCHMARK(runStage<&Stage::mark>)->Name("Stage/mark")->Apply(frameSizes);

} // namespace

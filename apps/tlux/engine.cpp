#include "engine.hpp"

#include "library_result.hpp"
#include "media/block_padding.hpp"
#include "media/semi_planar.hpp"

namespace tlux::app {

namespace {

constexpr uint32_t kOptimizeMode = 1;

} // namespace

Engine::Engine() {
  TLUX_ENGINE* engine = nullptr;
  checkResult(TLUX_Init(nullptr, &engine));
  engine_.reset(engine);
}

FramePtr Engine::run(const AVFrame& source, uint32_t strength) {
  FramePtr result = makeSemiPlanarLike(source);
  run(source, strength, *result);
  return result;
}

void Engine::run(const AVFrame& source, uint32_t strength, AVFrame& result) {
  const TLUX_IMAGE input = imageOf(source);
  TLUX_IMAGE output = imageOf(result);
  checkResult(TLUX_RunDynamicRangeOptimizationImage(nullptr, engine_.get(), &input, kOptimizeMode,
                                                    &output, &strength, 0));
}

FramePtr Engine::runSeamlessly(const AVFrame& source, uint32_t strength) {
  const FramePtr extended = extendToBlocks(source);
  if (extended == nullptr) return run(source, strength);
  return cutFromBlocks(*run(*extended, strength), source);
}

} // namespace tlux::app

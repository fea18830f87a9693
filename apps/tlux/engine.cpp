#include "engine.hpp"

#include <fmt/format.h>

#include <new>
#include <stdexcept>

#include "media/block_padding.hpp"
#include "media/semi_planar.hpp"

namespace tlux::app {

namespace {

constexpr uint32_t kOptimizeMode = 1;

const char* describeResult(uint32_t result) {
  switch (result) {
    case TLUX_ERR_INVALID_PARAM:
      return "the frame was rejected";
    case TLUX_ERR_NO_MEMORY:
      return "not enough memory";
    case TLUX_ERR_THREAD:
      return "no worker thread could be started";
    default:
      return "unexpected failure";
  }
}

} // namespace

Engine::Engine() {
  TLUX_ENGINE* engine = nullptr;
  if (TLUX_Init(nullptr, &engine) != TLUX_OK) throw std::bad_alloc();
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
  const uint32_t code = TLUX_RunDynamicRangeOptimizationImage(nullptr, engine_.get(), &input,
                                                              kOptimizeMode, &output, &strength, 0);
  if (code != TLUX_OK) {
    throw std::runtime_error(
        fmt::format("optimization failed: {} ({})", describeResult(code), code));
  }
}

FramePtr Engine::runSeamlessly(const AVFrame& source, uint32_t strength) {
  const FramePtr extended = extendToBlocks(source);
  if (extended == nullptr) return run(source, strength);
  return cutFromBlocks(*run(*extended, strength), source);
}

} // namespace tlux::app

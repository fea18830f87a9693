#pragma once

#include <cstdint>
#include <new>

#include "support/frame.hpp"
#include "tlux/engine.h"

namespace tlux::test {

// An engine on the heap or in a pool, destroyed at the end of the scope.
class ScopedEngine {
 public:
  explicit ScopedEngine(MMemMgr manager = nullptr) : manager_(manager) {
    if (TLUX_Init(manager, &engine_) != TLUX_OK) throw std::bad_alloc();
  }
  ScopedEngine(const ScopedEngine&) = delete;
  ScopedEngine& operator=(const ScopedEngine&) = delete;
  ~ScopedEngine() { TLUX_Uninit(manager_, engine_); }

  std::uint32_t run(Frame& source, Frame& output, std::uint32_t strength) {
    return TLUX_RunDynamicRangeOptimizationImage(manager_, engine_, &source.image(), 1,
                                                 &output.image(), &strength, 0);
  }
  TLUX_ENGINE& state() { return *engine_; }

 private:
  MMemMgr manager_;
  TLUX_ENGINE* engine_ = nullptr;
};

} // namespace tlux::test

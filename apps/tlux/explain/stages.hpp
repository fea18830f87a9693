#pragma once

#include <array>
#include <cstdint>

#include "media/av.hpp"
#include "tlux.h"

namespace tlux::app {

/**
 * The run taken apart: each member function is one of its stages, done with the functions that the
 * library exports for it. All memory comes from a pool, the pool has to outlive this.
 */
class Stages {
 public:
  /** Both frames are NV12 or NV21 of at least 16×16, of the same layout, size and row length, which
   * is the width rounded up to a multiple of 4. */
  Stages(MMemMgr pool, const AVFrame& source, AVFrame& output, uint32_t strength);
  ~Stages();
  Stages(const Stages&) = delete;
  Stages& operator=(const Stages&) = delete;

  // In the order of the run.
  void reduce();
  void copy();
  void score();
  void fillGains();
  void mapReference();
  void filter();
  void scaleChroma();
  void mark();

  /** The reference frame, scores and gain table are in it, as a run leaves them. */
  const TLUX_ENGINE& engine() const { return *engine_; }
  /** Luma of the reference frame after its gains, rows as long as those of the reference. */
  const uint8_t* mapped() const { return mapped_; }

 private:
  MMemMgr pool_;
  TLUX_IMAGE source_;
  TLUX_IMAGE output_;
  uint32_t strength_;
  TLUX_ENGINE* engine_ = nullptr;
  uint8_t* mapped_ = nullptr;
};

/** What a reader is told of a stage, with the function that does it. */
struct Stage {
  const char* name;
  const char* work;
  const char* functions;
  void (Stages::*run)();
};

extern const std::array<Stage, 8> kStages;

} // namespace tlux::app

#pragma once

#include <cstdint>
#include <vector>

#include "tlux.h"

namespace tlux::app {

/**
 * A memory pool of the library's that tells how much of it a piece of work takes: what is free is
 * painted before, and the last byte that has lost its paint tells how far the work reached. The
 * library writes a header behind every block, so blocks that are never filled count too.
 */
class MeteredPool {
 public:
  explicit MeteredPool(uint64_t bytes);

  MMemMgr handle() const { return handle_; }

  /** Makes everything free again. */
  void reset();

  /** Work starts here; what is in use now is not counted. */
  void startMeasuring();

  /** The most that was in use since at one time, in bytes. */
  int64_t peakBytes() const;

  /** What is in use now more than at the start; negative where something was released. */
  int64_t keptBytes() const;

 private:
  std::vector<uint8_t> memory_;
  MMemMgr handle_ = nullptr;
  const uint8_t* free_ = nullptr; // the free end of the pool when measuring started
  int64_t freeBytes_ = 0;
};

} // namespace tlux::app

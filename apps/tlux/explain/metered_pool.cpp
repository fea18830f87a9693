#include "explain/metered_pool.hpp"

#include <algorithm>
#include <limits>
#include <new>
#include <stdexcept>

namespace tlux::app {

namespace {

constexpr uint8_t kPaint = 0xA5;

} // namespace

MeteredPool::MeteredPool(uint64_t bytes) {
  // One block of a pool has at most this much, and all that is free is painted as one.
  if (bytes > std::numeric_limits<uint32_t>::max()) {
    throw std::runtime_error("the frame is too large to measure its memory");
  }
  memory_.resize(bytes);
  reset();
}

void MeteredPool::reset() {
  handle_ = MMemMgrCreate(memory_.data(), memory_.size());
  if (handle_ == nullptr) throw std::bad_alloc();
}

void MeteredPool::startMeasuring() {
  freeBytes_ = GetMaxAllocMemSize(handle_);
  void* block = MMemAlloc(handle_, static_cast<uint64_t>(freeBytes_));
  if (block == nullptr) throw std::bad_alloc();
  MMemSet(block, kPaint, static_cast<uint64_t>(freeBytes_));
  MMemFree(handle_, block);
  free_ = static_cast<const uint8_t*>(block);
}

int64_t MeteredPool::peakBytes() const {
  const uint8_t* end = free_ + freeBytes_;
  while (end > free_ && end[-1] == kPaint) {
    --end;
  }
  return end - free_;
}

int64_t MeteredPool::keptBytes() const {
  return freeBytes_ - GetMaxAllocMemSize(handle_);
}

} // namespace tlux::app

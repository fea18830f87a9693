#include "stream/frame_memory.hpp"

#include <algorithm>
#include <utility>

#include "platform/pool_need.hpp"
#include "platform/scratch.hpp"
#include "score/retinex.hpp"
#include "stream/render.hpp"

namespace tlux::detail {
namespace {

constexpr std::int32_t kBlock = 16; // the reference frame has two samples for each 16
constexpr std::int64_t kCacheLine = 64;

constexpr std::int32_t referenceSide(std::int32_t side) {
  return 2 * (side / kBlock + (side % kBlock != 0 ? 1 : 0));
}

constexpr std::int64_t wholeLines(std::int64_t bytes) {
  return (bytes + kCacheLine - 1) / kCacheLine * kCacheLine;
}

template <class T>
constexpr std::int64_t bytesOf(std::int64_t count) {
  return wholeLines(count * std::int64_t{sizeof(T)});
}

} // namespace

FrameLayout::FrameLayout(std::int32_t width, std::int32_t height, std::uint32_t workers)
    : refWidth_(referenceSide(width)), refHeight_(referenceSide(height)) {
  std::int64_t end = bytesOf<std::uint8_t>(pixels()); // the reference frame comes first
  const auto take = [&end](std::int64_t bytes) { return std::exchange(end, end + bytes); };
  mapped_ = take(bytesOf<std::uint8_t>(pixels()));
  scores_ = take(bytesOf<std::uint16_t>(pixels()));
  gains_ = take(bytesOf<std::uint16_t>(pixels()));
  shared_ = end;

  const std::int64_t logLuma = bytesOf<std::int16_t>(pixels());
  scoreBytes_ = wholeLines(poolOf(scorePoolBytes(refWidth_, refHeight_)));
  const std::int64_t scoring = shared_ + logLuma + scoreBytes_;

  take(4 * bytesOf<std::int32_t>(pixels()));
  workerBytes_ = wholeLines(filterPoolBytes(refWidth_));
  workers_ = take(filterPools(workers) * workerBytes_);
  bytes_ = std::max(scoring, end);
}

Result FrameMemory::reserve(const FrameLayout& layout) {
  layout_ = layout;
  const std::int64_t needed = layout.bytes();
  if (needed <= size_) return Result::kOk;
  MMemFree(manager_, std::exchange(block_, nullptr));
  block_ = static_cast<std::byte*>(allocateBytes(manager_, needed));
  size_ = block_ != nullptr ? needed : 0;
  return block_ != nullptr ? Result::kOk : Result::kNoMemory;
}

MMemMgr FrameMemory::scorePool() const {
  std::byte* pool = block_ + layout_.shared_ + bytesOf<std::int16_t>(layout_.pixels());
  return MMemMgrCreate(pool, static_cast<std::uint64_t>(layout_.scoreBytes_));
}

CoefficientPlanes FrameMemory::coefficients() const {
  const std::int64_t map = bytesOf<std::int32_t>(layout_.pixels());
  const auto nth = [&](int i) { return at<std::int32_t>(layout_.shared_ + i * map); };
  return {nth(0), nth(1), nth(2), nth(3)};
}

MMemMgr FrameMemory::workerPool(int worker) const {
  return MMemMgrCreate(block_ + layout_.workers_ + worker * layout_.workerBytes_,
                       static_cast<std::uint64_t>(layout_.workerBytes_));
}

} // namespace tlux::detail

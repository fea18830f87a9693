#pragma once

#include <cstddef>
#include <cstdint>

#include "base/plane.hpp"
#include "base/result.hpp"
#include "guided_upsampling/guided_frame.hpp"
#include "tlux/platform.h"

namespace tlux::detail {

// The layout of a frame's working planes in one block. Scoring and filtering follow each other and
// share memory.
class FrameLayout {
 public:
  FrameLayout(std::int32_t width, std::int32_t height, std::uint32_t workers);

  std::int32_t refWidth() const { return refWidth_; }
  std::int32_t refHeight() const { return refHeight_; }
  std::int64_t pixels() const { return std::int64_t{refWidth_} * refHeight_; }
  std::int64_t bytes() const { return bytes_; }

 private:
  friend class FrameMemory;

  std::int32_t refWidth_;
  std::int32_t refHeight_;
  std::int64_t workerBytes_; // of the filter, for each worker
  std::int64_t scoreBytes_;
  // From the start of the block.
  std::int64_t mapped_;
  std::int64_t scores_;
  std::int64_t gains_;
  std::int64_t shared_;
  std::int64_t workers_;
  std::int64_t bytes_;
};

// One block for the frames of a stream. It grows when needed and is kept.
class FrameMemory {
 public:
  explicit FrameMemory(MMemMgr manager) : manager_(manager) {}
  FrameMemory(const FrameMemory&) = delete;
  FrameMemory& operator=(const FrameMemory&) = delete;
  ~FrameMemory() { MMemFree(manager_, block_); }

  // Makes room for a frame. Fails when memory runs out; the data of earlier frames is then gone.
  Result reserve(const FrameLayout& layout);

  const FrameLayout& layout() const { return layout_; }
  Plane<std::uint8_t> reference() const { return plane<std::uint8_t>(0); }
  Plane<std::uint8_t> mapped() const { return plane<std::uint8_t>(layout_.mapped_); }
  std::uint16_t* scores() const { return at<std::uint16_t>(layout_.scores_); }
  std::uint16_t* gains() const { return at<std::uint16_t>(layout_.gains_); }

  // Used while the scores are made, with a pool for them.
  std::int16_t* logLuma() const { return at<std::int16_t>(layout_.shared_); }
  MMemMgr scorePool() const;

  // Used while the frame is filtered: the maps, and a pool for each worker.
  CoefficientPlanes coefficients() const;
  MMemMgr workerPool(int worker) const;

 private:
  template <class T>
  T* at(std::int64_t offset) const {
    return reinterpret_cast<T*>(block_ + offset);
  }
  template <class T>
  Plane<T> plane(std::int64_t offset) const {
    return packedPlane(at<T>(offset), layout_.refWidth_, layout_.refHeight_);
  }

  MMemMgr manager_;
  std::byte* block_ = nullptr;
  std::int64_t size_ = 0;
  FrameLayout layout_{0, 0, 1};
};

// The largest number of blocks filtered in parallel: a band or a strip for each worker.
constexpr int filterPools(std::uint32_t workers) {
  constexpr int kBands = 4;
  return workers > kBands ? static_cast<int>(workers) : kBands;
}

} // namespace tlux::detail

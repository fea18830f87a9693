// The fast guided filter (windows of 2r × 2r, edges repeated), first step: where things lie.
#pragma once

#include <array>
#include <cstdint>

#include "base/bands.hpp"
#include "guided_upsampling/guided_frame.hpp"
#include "tlux/platform.h"

namespace tlux::detail {

// Size of the private pool for a worker's allocations: the filter's buffers and `ownBytes` of the
// caller's.
std::int64_t workerPoolBytes(std::int32_t lowWidth, std::int32_t radius, std::int64_t ownBytes = 0);

// Layout of the block that filterInStrips() works in: four maps, then the memory of four workers.
// It is one block because a heap that gets several back one by one returns the pages to the system
// and faults them in again with every frame.
class FilterBlock {
 public:
  constexpr FilterBlock(std::int64_t lowWidth, std::int64_t lowHeight, std::int64_t workerBytes)
      : samples_(lowWidth * lowHeight), share_((workerBytes + 7) / 8 * 8) {}

  // Negative if the size does not fit 64 bits.
  constexpr std::int64_t bytes() const {
    std::int64_t total = 0;
    const bool tooMany = __builtin_mul_overflow(samples_, kMapBytes, &total) ||
                         __builtin_add_overflow(total, kBandCount * share_, &total);
    return tooMany ? -1 : total;
  }

  CoefficientPlanes maps(std::uint8_t* block) const {
    auto* const first = reinterpret_cast<std::int32_t*>(block);
    return {first, first + samples_, first + 2 * samples_, first + 3 * samples_};
  }

  // One for each band or worker, since the caller's pool has no lock.
  std::array<MMemMgr, kBandCount> pools(std::uint8_t* block) const {
    std::array<MMemMgr, kBandCount> pools{};
    std::uint8_t* memory = block + kMapBytes * samples_;
    for (MMemMgr& pool : pools) {
      pool = MMemMgrCreate(memory, static_cast<std::uint64_t>(share_));
      memory += share_;
    }
    return pools;
  }

 private:
  static constexpr std::int64_t kMapBytes = 4 * std::int64_t{sizeof(std::int32_t)}; // a sample

  std::int64_t samples_; // of a map
  std::int64_t share_;   // bytes of a worker, a multiple of 8
};

} // namespace tlux::detail

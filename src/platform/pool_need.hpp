#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "platform/memory_pool.hpp"

// What allocations take out of a pool, for answering how large a pool must be. Blocks that are held
// at the same time add up; of stages that follow each other the largest counts.
namespace tlux::detail {

// Stands for blocks that no pool can hold, since their size does not fit 32 bits. A sum of a few
// dozen of them does not overflow.
inline constexpr std::int64_t kNoPool = std::numeric_limits<std::int64_t>::max() / 64;

// One block with its header. Payloads count as at least the rest from which on a pool splits a
// block: so the blocks that are yet to come are always enough of a rest.
constexpr std::int64_t poolBlock(std::int64_t bytes) {
  if (bytes > std::numeric_limits<std::uint32_t>::max() - 7) return kNoPool;
  constexpr std::int64_t kSmallest = 32;
  return std::int64_t{sizeof(MemoryPool::Block)} + std::max(kSmallest, (bytes + 7) / 8 * 8);
}

// A pool of these blocks whose buffer may start anywhere: the end header, and the bytes skipped to
// a multiple of 8.
constexpr std::int64_t poolOf(std::int64_t blocks) {
  return blocks + std::int64_t{sizeof(MemoryPool::Block)} + 7;
}

} // namespace tlux::detail

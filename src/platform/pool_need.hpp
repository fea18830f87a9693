#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "platform/memory_pool.hpp"

// How much of a pool allocations use, for computing the required pool size. Blocks held at the same
// time add up; of consecutive stages the largest counts.
namespace tlux::detail {

// Marks blocks that no pool can hold because their size does not fit 32 bits. A sum of a few dozen
// of them does not overflow.
inline constexpr std::int64_t kNoPool = std::numeric_limits<std::int64_t>::max() / 64;

// One block with its header. A payload counts as at least the smallest rest that a pool splits off,
// so the blocks still to come are always a large enough rest.
constexpr std::int64_t poolBlock(std::int64_t bytes) {
  if (bytes > std::numeric_limits<std::uint32_t>::max() - 7) return kNoPool;
  constexpr std::int64_t kSmallest = 32;
  return std::int64_t{sizeof(MemoryPool::Block)} + std::max(kSmallest, (bytes + 7) / 8 * 8);
}

// A pool of these blocks in a buffer at any address: adds the end header and the bytes skipped to
// reach a multiple of 8.
constexpr std::int64_t poolOf(std::int64_t blocks) {
  return blocks + std::int64_t{sizeof(MemoryPool::Block)} + 7;
}

} // namespace tlux::detail

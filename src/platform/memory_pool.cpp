#include "platform/memory_pool.hpp"

#include <cstring>

namespace tlux::detail {
namespace {

using Block = MemoryPool::Block;

constexpr std::uint64_t kHeader = sizeof(Block);
constexpr std::uint64_t kEndSize = ~std::uint64_t{0};
constexpr std::int64_t kSplitFrom = 32; // smallest rest worth a block of its own

static_assert(sizeof(Block) == 16);

bool isEnd(const Block* block) {
  return block->size == kEndSize;
}

std::byte* payloadOf(Block* block) {
  return reinterpret_cast<std::byte*>(block) + kHeader;
}

Block* nextOf(Block* block) {
  return reinterpret_cast<Block*>(payloadOf(block) + block->size);
}

bool isFree(const Block* block) {
  return !isEnd(block) && block->used == 0;
}

// 32-bit on purpose: a size within 7 of the 32-bit maximum wraps to 0.
std::uint32_t roundUpTo8(std::uint32_t size) {
  return (size + 7u) & ~7u;
}

// Payload bytes of the free block left by a split at `need`; negative when the block has no room
// for another header.
std::int64_t restAfter(const Block* block, std::uint32_t need) {
  return static_cast<std::int64_t>(block->size) - static_cast<std::int64_t>(need) -
         static_cast<std::int64_t>(kHeader);
}

void split(Block* block, std::uint32_t need, std::int64_t rest) {
  block->size = need;
  *nextOf(block) = {static_cast<std::uint64_t>(rest), 0};
}

void absorbNext(Block* block) {
  block->size += kHeader + nextOf(block)->size;
}

} // namespace

MemoryPool* MemoryPool::format(void* buffer, std::int64_t size) {
  if (buffer == nullptr) return nullptr;
  const auto address = reinterpret_cast<std::uintptr_t>(buffer);
  const auto skip = static_cast<std::int64_t>(-address & 7u);
  constexpr std::int64_t kHeaders = 2 * std::int64_t{kHeader};
  if (size < skip + kHeaders + 8) return nullptr;
  const std::int64_t payload = ((size - skip) & ~std::int64_t{7}) - kHeaders;

  auto* pool = reinterpret_cast<MemoryPool*>(static_cast<std::byte*>(buffer) + skip);
  pool->first_ = {static_cast<std::uint64_t>(payload), 0};
  *nextOf(&pool->first_) = {kEndSize, 0};
  return pool;
}

void* MemoryPool::allocate(std::uint32_t size) {
  if (size == 0) return nullptr;
  const std::uint32_t need = roundUpTo8(size);
  for (Block* block = first(); !isEnd(block); block = nextOf(block)) {
    if (block->used != 0 || block->size < need) continue;
    const std::int64_t rest = restAfter(block, need);
    if (rest >= kSplitFrom) split(block, need, rest);
    block->used = 1;
    return payloadOf(block);
  }
  return nullptr;
}

MemoryPool::Found MemoryPool::find(const void* payload) {
  Block* previous = nullptr;
  for (Block* block = first(); !isEnd(block); previous = block, block = nextOf(block)) {
    if (payloadOf(block) != payload) continue;
    return {block->used != 0 ? block : nullptr, previous};
  }
  return {nullptr, nullptr};
}

void MemoryPool::release(void* payload) {
  const auto [block, previous] = find(payload);
  if (block == nullptr) return;
  block->used = 0;
  if (isFree(nextOf(block))) absorbNext(block);
  if (previous != nullptr && isFree(previous)) absorbNext(previous);
}

bool MemoryPool::tryShrink(Block* block, std::uint32_t need) {
  if (block->size < need) return false;
  const std::int64_t rest = restAfter(block, need);
  if (rest > kSplitFrom) {
    split(block, need, rest);
    Block* spare = nextOf(block);
    if (isFree(nextOf(spare))) absorbNext(spare);
  }
  return true;
}

// The header of the absorbed block is not counted in the test, although its 16 bytes become
// available.
bool MemoryPool::tryGrow(Block* block, std::uint32_t need) {
  const Block* next = nextOf(block);
  if (!isFree(next) || need > block->size + next->size) return false;
  absorbNext(block);
  const std::int64_t rest = restAfter(block, need);
  if (rest >= kSplitFrom) split(block, need, rest);
  return true;
}

void* MemoryPool::resize(void* payload, std::uint32_t size) {
  if (size == 0) return nullptr;
  if (payload == nullptr) return allocate(size);
  Block* block = find(payload).block;
  if (block == nullptr) return nullptr;

  const std::uint32_t need = roundUpTo8(size);
  if (tryShrink(block, need) || tryGrow(block, need)) return payload;

  void* moved = allocate(need);
  if (moved == nullptr) return nullptr;
  std::memcpy(moved, payload, block->size);
  release(payload);
  return moved;
}

std::uint64_t MemoryPool::largestFree() const {
  std::uint64_t largest = 0;
  for (const Block* block = &first_; !isEnd(block);) {
    if (block->used == 0 && block->size > largest) largest = block->size;
    block = reinterpret_cast<const Block*>(reinterpret_cast<const std::byte*>(block) + kHeader +
                                           block->size);
  }
  return largest;
}

} // namespace tlux::detail

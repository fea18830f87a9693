#include <cstdlib>
#include <cstring>

#include "platform/memory_pool.hpp"
#include "tlux/platform.h"

using namespace tlux::detail;

namespace {

MemoryPool* poolOf(MMemMgr manager) {
  return static_cast<MemoryPool*>(manager);
}

} // namespace

MMemMgr MMemMgrCreate(void* buffer, uint64_t size) noexcept {
  return MemoryPool::format(buffer, static_cast<int64_t>(size));
}

void MMemMgrDestroy(MMemMgr) noexcept {}

void* MMemAlloc(MMemMgr manager, uint64_t size) noexcept {
  return manager == nullptr ? std::malloc(size)
                            : MMemAllocStatic(manager, static_cast<uint32_t>(size));
}

void MMemFree(MMemMgr manager, void* block) noexcept {
  if (manager == nullptr) {
    std::free(block);
  } else {
    MMemFreeStatic(manager, block);
  }
}

void* MMemRealloc(MMemMgr manager, void* block, uint64_t size) noexcept {
  return manager == nullptr ? std::realloc(block, size)
                            : MMemReallocStatic(manager, block, static_cast<uint32_t>(size));
}

void* MMemAllocStatic(MMemMgr manager, uint32_t size) noexcept {
  return manager == nullptr ? nullptr : poolOf(manager)->allocate(size);
}

void MMemFreeStatic(MMemMgr manager, void* block) noexcept {
  if (manager != nullptr && block != nullptr) poolOf(manager)->release(block);
}

void* MMemReallocStatic(MMemMgr manager, void* block, uint32_t size) noexcept {
  return manager == nullptr ? nullptr : poolOf(manager)->resize(block, size);
}

int64_t GetMaxAllocMemSize(MMemMgr manager) noexcept {
  if (manager == nullptr) return TLUX_ERR_INVALID_PARAM;
  return static_cast<int64_t>(poolOf(manager)->largestFree());
}

void* MMemSet(void* destination, uint8_t value, uint64_t size) noexcept {
  return size == 0 ? destination : std::memset(destination, value, size);
}

void* MMemCpy(void* destination, const void* source, uint64_t size) noexcept {
  return size == 0 ? destination : std::memcpy(destination, source, size);
}

void* MMemMove(void* destination, const void* source, uint64_t size) noexcept {
  return size == 0 ? destination : std::memmove(destination, source, size);
}

int32_t MMemCmp(const void* a, const void* b, uint64_t size) noexcept {
  return size == 0 ? 0 : std::memcmp(a, b, size);
}

#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>

#include "tlux/platform.h"

namespace tlux::detail {

// Allocates `bytes` from a pool or the heap. Negative sizes and sizes that a pool cannot express in
// 32 bits are refused before the allocator is asked.
[[nodiscard]] inline void* allocateBytes(MMemMgr manager, std::int64_t bytes) {
  constexpr std::int64_t kPoolLimit = std::numeric_limits<std::uint32_t>::max() - 7;
  if (bytes < 0 || (manager != nullptr && bytes > kPoolLimit)) return nullptr;
  return MMemAlloc(manager, static_cast<std::uint64_t>(bytes));
}

// An uninitialised array of trivial elements that lives as long as its scope. Null when the
// allocation failed: test it before use. A pool aligns to 8 bytes only.
template <class T>
class Scratch {
  static_assert(std::is_trivial_v<T> && alignof(T) <= 8);

 public:
  Scratch(MMemMgr manager, std::int64_t count)
      : manager_(manager), data_(static_cast<T*>(allocateBytes(manager, bytesFor(count)))) {}
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() {
    if (data_ != nullptr) MMemFree(manager_, data_);
  }

  explicit operator bool() const { return data_ != nullptr; }
  T* get() const { return data_; }
  T& operator[](std::ptrdiff_t i) const { return data_[i]; }
  // Hands the block to the caller, who releases it with the same manager.
  [[nodiscard]] T* release() { return std::exchange(data_, nullptr); }

 private:
  static std::int64_t bytesFor(std::int64_t count) {
    std::int64_t bytes = 0;
    return __builtin_mul_overflow(count, std::int64_t{sizeof(T)}, &bytes) ? -1 : bytes;
  }

  MMemMgr manager_;
  T* data_;
};

} // namespace tlux::detail

#pragma once

#include <cstddef>
#include <cstdint>

namespace tlux::detail {

// A pool inside the caller's buffer: blocks of a 16-byte header and payload, back to back, ended by
// a header whose size is all-ones. All state is in the headers, so a pool is just the address of
// its first one.
class MemoryPool {
 public:
  struct Block {
    std::uint64_t size; // payload bytes, a multiple of 8
    std::uint64_t used; // 0 or 1
  };

  static MemoryPool* format(void* buffer, std::int64_t size);

  void* allocate(std::uint32_t size);
  void release(void* payload);
  void* resize(void* payload, std::uint32_t size);
  std::uint64_t largestFree() const;

 private:
  struct Found {
    Block* block;    // null when the payload is not a live block of this pool
    Block* previous; // null for the first block
  };

  Block* first() { return &first_; }
  Found find(const void* payload);
  bool tryShrink(Block* block, std::uint32_t need);
  bool tryGrow(Block* block, std::uint32_t need);

  Block first_;
};

} // namespace tlux::detail

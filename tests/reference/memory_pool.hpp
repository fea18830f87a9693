#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace tlux::reference {

// The pool as a list of (payload offset, payload size, used), with its rules in plain form.
class PoolModel {
 public:
  static constexpr std::int64_t kHeader = 16;
  static constexpr std::int64_t kRefused = -1;

  struct Block {
    std::int64_t offset;
    std::int64_t size;
    bool used;

    friend bool operator==(const Block&, const Block&) = default;
  };

  explicit PoolModel(std::int64_t bytes) : blocks_{{kHeader, bytes - 2 * kHeader, false}} {}

  // The chain of a pool, read from its headers.
  static std::vector<Block> chainAt(const std::uint8_t* pool) {
    std::vector<Block> blocks;
    for (std::int64_t header = 0;;) {
      std::uint64_t words[2];
      std::memcpy(words, pool + header, sizeof words);
      if (words[0] == ~std::uint64_t{0}) return blocks;
      const auto size = static_cast<std::int64_t>(words[0]);
      blocks.push_back({header + kHeader, size, words[1] == 1});
      header += kHeader + size;
    }
  }

  std::int64_t allocate(std::int64_t size) {
    const std::int64_t need = (size + 7) / 8 * 8;
    for (std::size_t i = 0; i < blocks_.size() && size != 0; ++i) {
      if (blocks_[i].used || blocks_[i].size < need) continue;
      cut(i, need, 32);
      blocks_[i].used = true;
      return blocks_[i].offset;
    }
    return kRefused;
  }

  void release(std::int64_t offset) {
    blocks_[indexOf(offset)].used = false;
    mergeFree();
  }

  std::int64_t resize(std::int64_t offset, std::int64_t size) {
    if (size == 0) return kRefused;
    const std::size_t i = indexOf(offset);
    const std::int64_t need = (size + 7) / 8 * 8;
    if (blocks_[i].size >= need) {
      cut(i, need, 40);
      mergeFree();
      return offset;
    }
    const bool nextFree = i + 1 < blocks_.size() && !blocks_[i + 1].used;
    if (nextFree && need <= blocks_[i].size + blocks_[i + 1].size) {
      blocks_[i].size += kHeader + blocks_[i + 1].size;
      blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(i) + 1);
      cut(i, need, 32);
      return offset;
    }
    const std::int64_t moved = allocate(need);
    if (moved != kRefused) release(offset);
    return moved;
  }

  std::int64_t largestFree() const {
    std::int64_t largest = 0;
    for (const Block& block : blocks_) {
      if (!block.used) largest = std::max(largest, block.size);
    }
    return largest;
  }

  const std::vector<Block>& blocks() const { return blocks_; }
  std::int64_t capacity(std::int64_t offset) const { return blocks_[indexOf(offset)].size; }

 private:
  std::size_t indexOf(std::int64_t offset) const {
    const auto found = std::find_if(blocks_.begin(), blocks_.end(),
                                    [&](const Block& block) { return block.offset == offset; });
    return static_cast<std::size_t>(found - blocks_.begin());
  }

  void cut(std::size_t i, std::int64_t need, std::int64_t splitFrom) {
    const std::int64_t rest = blocks_[i].size - need - kHeader;
    if (rest < splitFrom) return;
    blocks_[i].size = need;
    blocks_.insert(blocks_.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                   {blocks_[i].offset + need + kHeader, rest, false});
  }

  void mergeFree() {
    for (std::size_t i = 0; i + 1 < blocks_.size();) {
      if (blocks_[i].used || blocks_[i + 1].used) {
        ++i;
        continue;
      }
      blocks_[i].size += kHeader + blocks_[i + 1].size;
      blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(i) + 1);
    }
  }

  std::vector<Block> blocks_;
};

} // namespace tlux::reference

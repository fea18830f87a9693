// Sequences of pool operations against a list of blocks that follows the same rules.
#include <cstring>

#include "properties/properties.hpp"
#include "reference/memory_pool.hpp"
#include "support/guarded_buffer.hpp"

namespace tlux::properties {
namespace {

using reference::PoolModel;

class Pool {
 public:
  explicit Pool(int bytes)
      : memory_(static_cast<std::size_t>(bytes)),
        handle_(MMemMgrCreate(memory_.data(), static_cast<std::uint64_t>(bytes))),
        model_(bytes) {}

  void allocate(std::uint32_t size, std::uint8_t value) {
    keep(offsetOf(MMemAlloc(handle_, size)), model_.allocate(size), value);
  }

  void resize(std::size_t index, std::uint32_t size, std::uint8_t value) {
    const auto [offset, held] = live_[index];
    const auto kept = std::min<std::int64_t>(size, model_.capacity(offset));
    const std::int64_t moved = offsetOf(MMemRealloc(handle_, at(offset), size));
    const std::int64_t expected = model_.resize(offset, size);
    if (moved != PoolModel::kRefused) {
      for (const std::uint8_t* p = at(moved); p != at(moved) + kept; ++p) {
        require(*p == held);
      }
      forget(index);
    }
    keep(moved, expected, value);
  }

  void release(std::size_t index) {
    const std::int64_t offset = live_[index].offset;
    MMemFree(handle_, at(offset));
    model_.release(offset);
    forget(index);
  }

  // Ignored, unless it happens to be a live block.
  void releaseForeign(std::int64_t offset) {
    if (std::ranges::count(live_, offset, &Held::offset) != 0) return;
    MMemFree(handle_, at(offset));
    require(MMemRealloc(handle_, at(offset), 8) == nullptr);
  }

  void check() {
    require(PoolModel::chainAt(memory_.data()) == model_.blocks());
    require(GetMaxAllocMemSize(handle_) == model_.largestFree());
    for (const auto& [offset, value] : live_) {
      const std::int64_t size = model_.capacity(offset);
      require(size == 0 || (*at(offset) == value && at(offset)[size - 1] == value));
    }
  }

  std::size_t liveBlocks() const { return live_.size(); }

 private:
  std::uint8_t* at(std::int64_t offset) { return memory_.data() + offset; }
  std::int64_t offsetOf(const void* block) {
    return block == nullptr ? PoolModel::kRefused : static_cast<const std::uint8_t*>(block) - at(0);
  }
  void forget(std::size_t index) {
    live_[index] = live_.back();
    live_.pop_back();
  }
  void keep(std::int64_t offset, std::int64_t expected, std::uint8_t value) {
    require(offset == expected);
    if (offset == PoolModel::kRefused) return;
    std::memset(at(offset), value, static_cast<std::size_t>(model_.capacity(offset)));
    live_.push_back({offset, value});
  }

  struct Held {
    std::int64_t offset;
    std::uint8_t value; // of all its bytes
  };

  test::GuardedBuffer memory_; // of a multiple of 8 bytes, so it starts on one
  MMemMgr handle_;
  PoolModel model_;
  std::vector<Held> live_;
};

} // namespace

void checkPool(Input& input) {
  Pool pool(8 * input.between(5, 600));
  while (!input.isEmpty()) {
    const int action = input.between(0, 3);
    const auto size = static_cast<std::uint32_t>(input.between(0, 2000));
    const auto value = static_cast<std::uint8_t>(size);
    if (action == 3) {
      pool.releaseForeign(input.between(0, 4000));
    } else if (action == 0 || pool.liveBlocks() == 0) {
      pool.allocate(size, value);
    } else {
      const auto index =
          static_cast<std::size_t>(input.between(0, static_cast<int>(pool.liveBlocks()) - 1));
      if (action == 1) pool.release(index);
      if (action == 2) pool.resize(index, size, value);
    }
    pool.check();
  }
}

} // namespace tlux::properties

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <numeric>
#include <vector>

#include "reference/memory_pool.hpp"
#include "support/fault_injection.hpp"
#include "support/pool.hpp"
#include "support/random.hpp"

namespace tlux::test {
namespace {

using reference::PoolModel;

constexpr std::int64_t kHeader = PoolModel::kHeader;
constexpr std::int64_t kRefused = PoolModel::kRefused;

std::int64_t offsetOf(Pool& pool, const void* block) {
  return block == nullptr ? kRefused : static_cast<const std::uint8_t*>(block) - pool.data();
}

// The block chain as its headers tell it.
std::vector<PoolModel::Block> chainOf(Pool& pool) {
  std::vector<PoolModel::Block> blocks;
  for (std::int64_t header = 0;;) {
    std::uint64_t words[2];
    std::memcpy(words, pool.data() + header, sizeof words);
    if (words[0] == ~std::uint64_t{0}) return blocks;
    const auto size = static_cast<std::int64_t>(words[0]);
    blocks.push_back({header + kHeader, size, words[1] == 1});
    header += kHeader + size;
  }
}

void expectSameChain(Pool& pool, const PoolModel& model) {
  EXPECT_EQ(chainOf(pool), model.blocks());
  EXPECT_EQ(pool.largestFree(), model.largestFree());
}

// Random sequences of every operation leave the same chain as the model, hand out the same blocks
// and keep the contents of live ones.
TEST(MemoryPool, FollowsTheModelOverRandomSequences) {
  for (std::uint32_t seed = 0; seed < 20; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    const std::int64_t bytes = 8 * random.between(8, 600);
    Pool pool(static_cast<std::size_t>(bytes));
    PoolModel model(bytes);
    std::map<std::int64_t, std::uint8_t> live; // offset to the value its bytes hold

    const auto fillBlock = [&](std::int64_t offset) {
      const auto value = static_cast<std::uint8_t>(random.bits());
      std::memset((pool.data() + offset), value, static_cast<std::size_t>(model.capacity(offset)));
      live[offset] = value;
    };

    for (int step = 0; step < 1500; ++step) {
      const auto size = static_cast<std::uint32_t>(random.between(0, bytes / 3));
      const auto action = random.between(0, 2);
      if (action == 0 || live.empty()) {
        const auto offset = offsetOf(pool, MMemAlloc(pool, size));
        ASSERT_EQ(offset, model.allocate(size));
        if (offset != kRefused) fillBlock(offset);
      } else {
        auto chosen = live.begin();
        std::advance(chosen, random.between(0, static_cast<std::int64_t>(live.size()) - 1));
        const auto [offset, value] = *chosen;
        const auto kept = std::min(std::int64_t{size}, model.capacity(offset));
        if (action == 1) {
          MMemFree(pool, (pool.data() + offset));
          model.release(offset);
          live.erase(offset);
        } else {
          const auto moved = offsetOf(pool, MMemRealloc(pool, (pool.data() + offset), size));
          ASSERT_EQ(moved, model.resize(offset, size));
          if (moved != kRefused) {
            ASSERT_TRUE(std::all_of(pool.data() + moved, pool.data() + moved + kept,
                                    [v = value](std::uint8_t byte) { return byte == v; }));
            live.erase(offset);
            fillBlock(moved);
          }
        }
      }
      expectSameChain(pool, model);
      if (HasFailure()) return;
    }
    for (const auto& [offset, value] : live) {
      EXPECT_EQ(*(pool.data() + offset), value);
    }
  }
}

TEST(MemoryPool, NeedsFortyAlignedBytes) {
  alignas(8) std::uint8_t memory[64];
  for (unsigned start = 0; start < 8; ++start) {
    const std::uint64_t smallest = start == 0 ? 40 : 40 + 8 - start;
    EXPECT_EQ(MMemMgrCreate(memory + start, smallest - 1), nullptr) << start;
    MMemMgr pool = MMemMgrCreate(memory + start, smallest);
    EXPECT_EQ(pool, start == 0 ? memory : memory + 8) << start;
    EXPECT_EQ(GetMaxAllocMemSize(pool), 8) << start;
    // Sizes are signed.
    constexpr std::uint64_t kLowest = std::uint64_t{1} << 63;
    for (const std::uint64_t size : {kLowest, kLowest + 7, kLowest + 39, ~std::uint64_t{0}}) {
      EXPECT_EQ(MMemMgrCreate(memory + start, size), nullptr) << start;
    }
  }
  EXPECT_EQ(MMemMgrCreate(nullptr, 1000), nullptr);
}

TEST(MemoryPool, SplitThresholdsDifferBetweenAllocatingAndShrinking) {
  // Payload bytes of a pool's one block, what is asked of it, and the free bytes left by
  // allocating, and by allocating the whole and shrinking it.
  struct Case {
    std::size_t payload;
    std::uint32_t asked;
    std::int64_t leftByAllocating;
    std::int64_t leftByShrinking;
  };
  for (const Case& c : {Case{80, 40, 0, 0}, Case{88, 40, 32, 0}, Case{96, 40, 40, 40}}) {
    Pool allocated(c.payload + 2 * kHeader);
    ASSERT_NE(MMemAlloc(allocated, c.asked), nullptr);
    EXPECT_EQ(allocated.largestFree(), c.leftByAllocating) << c.payload;

    Pool shrunk(c.payload + 2 * kHeader);
    void* block = MMemAlloc(shrunk, c.payload);
    EXPECT_EQ(MMemRealloc(shrunk, block, c.asked), block);
    EXPECT_EQ(shrunk.largestFree(), c.leftByShrinking) << c.payload;
  }
}

TEST(MemoryPool, SizesNearTheLimitOfThirtyTwoBitsWrapToNothing) {
  Pool pool(1024);
  EXPECT_NE(MMemAllocStatic(pool, ~0u), nullptr); // rounds up to 0 bytes
  EXPECT_EQ(MMemAllocStatic(pool, ~0u - 7), nullptr);
  EXPECT_EQ(chainOf(pool).front().size, 0);
}

TEST(MemoryPool, IgnoresPointersThatAreNotItsLiveBlocks) {
  Pool pool(512);
  void* first = MMemAlloc(pool, 64);
  void* second = MMemAlloc(pool, 64);
  MMemFree(pool, second);
  const auto before = pool.largestFree();
  int foreign = 0;
  for (void* pointer :
       {static_cast<void*>(&foreign), static_cast<void*>(pool.data() + 24), second}) {
    MMemFree(pool, pointer);
    EXPECT_EQ(MMemRealloc(pool, pointer, 128), nullptr);
  }
  EXPECT_EQ(pool.largestFree(), before);
  EXPECT_EQ(MMemRealloc(pool, first, 0), nullptr);
  EXPECT_TRUE(chainOf(pool).front().used);
}

TEST(MemoryPool, NullHandleMeansTheHeapOrNothing) {
  const long live = liveAllocations();
  auto* block = static_cast<char*>(MMemAlloc(nullptr, 5));
  ASSERT_NE(block, nullptr);
  std::memcpy(block, "tlux", 5);
  block = static_cast<char*>(MMemRealloc(nullptr, block, 100000));
  EXPECT_STREQ(block, "tlux");
  MMemFree(nullptr, block);
  EXPECT_EQ(liveAllocations(), live);

  EXPECT_EQ(MMemAllocStatic(nullptr, 8), nullptr);
  EXPECT_EQ(MMemReallocStatic(nullptr, nullptr, 8), nullptr);
  MMemFreeStatic(nullptr, nullptr);
  EXPECT_EQ(GetMaxAllocMemSize(nullptr), 2);
}

TEST(MemoryPool, PrimitivesAreThoseOfC) {
  std::uint8_t bytes[8];
  EXPECT_EQ(MMemSet(bytes, 7, 8), bytes);
  std::iota(bytes, bytes + 4, std::uint8_t{1});
  EXPECT_EQ(MMemMove(bytes + 1, bytes, 4), bytes + 1);
  const std::uint8_t moved[8] = {1, 1, 2, 3, 4, 7, 7, 7};
  EXPECT_EQ(MMemCmp(bytes, moved, 8), 0);
  EXPECT_EQ(MMemCpy(bytes, moved + 4, 4), bytes);
  EXPECT_GT(MMemCmp(bytes, moved, 8), 0);
  EXPECT_LT(MMemCmp(moved, bytes, 8), 0);
}

} // namespace
} // namespace tlux::test

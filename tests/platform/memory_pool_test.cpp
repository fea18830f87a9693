#include <gtest/gtest.h>

#include <cstring>
#include <numeric>

#include "reference/memory_pool.hpp"
#include "support/fault_injection.hpp"
#include "support/pool.hpp"

namespace tlux::test {
namespace {

using reference::PoolModel;

constexpr std::int64_t kHeader = PoolModel::kHeader;

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
  EXPECT_EQ(PoolModel::chainAt(pool.data()).front().size, 0);
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
  EXPECT_TRUE(PoolModel::chainAt(pool.data()).front().used);
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

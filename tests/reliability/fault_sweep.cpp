#include "reliability/fault_sweep.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/effort.hpp"
#include "support/fault_injection.hpp"
#include "support/guarded_buffer.hpp"

namespace tlux::test {

FaultSweeper::FaultSweeper(SweptCall swept)
    : swept_(std::move(swept)), before_(swept_.memory.begin(), swept_.memory.end()) {
  EXPECT_EQ(call(nullptr), TLUX_OK);
  whole_.assign(swept_.memory.begin(), swept_.memory.end());
}

std::uint32_t FaultSweeper::call(MMemMgr manager) {
  std::ranges::copy(before_, swept_.memory.begin());
  return swept_.call(manager);
}

// Otherwise the call must fail as its interface documents.
bool FaultSweeper::isWhole(std::uint32_t result, std::uint32_t code) const {
  if (result == TLUX_OK && std::ranges::equal(swept_.memory, whole_)) return true;
  EXPECT_EQ(result, swept_.failure == Failure::kSilent ? TLUX_OK : code);
  for (std::size_t i = 0; i < before_.size(); ++i) {
    const std::uint8_t byte = swept_.memory[i];
    const bool isWritten = swept_.failure == Failure::kPartial && byte == whole_[i];
    if (isWritten || byte == before_[i]) continue;
    ADD_FAILURE() << "byte " << i << " of the output";
    break;
  }
  return false;
}

int FaultSweeper::sweep(void (*failNth)(int), std::uint32_t code) {
  const long live = liveAllocations();
  const long threads = liveThreads();
  return sweepFaults(failNth, [&] {
    const bool isDone = isWhole(call(nullptr), code);
    EXPECT_TRUE(isDone || faultFired());
    EXPECT_TRUE(!isDone || !faultFired() || swept_.mayDoWithout);
    EXPECT_EQ(liveAllocations(), live);
    EXPECT_EQ(liveThreads(), threads);
  });
}

int FaultSweeper::everyFailedAllocation() {
  return sweep(failAllocation, TLUX_ERR_NO_MEMORY);
}

int FaultSweeper::everyFailedThreadStart() {
  pretendProcessors(4);
  const int faults = sweep(failThreadStart, TLUX_ERR_THREAD);
  pretendProcessors(0);
  return faults;
}

// Whether a call with a pool of this size, which ends at a protected page, succeeded completely.
bool FaultSweeper::fitsIn(std::size_t bytes) {
  GuardedBuffer memory(bytes, 0xFF);
  MMemMgr manager = MMemMgrCreate(memory.data(), bytes);
  if (manager == nullptr) return false;
  const std::int64_t free = GetMaxAllocMemSize(manager);
  const long asked = allocationCount();
  const bool isDone = isWhole(call(manager), TLUX_ERR_NO_MEMORY);
  EXPECT_EQ(GetMaxAllocMemSize(manager), free) << bytes;
  EXPECT_EQ(allocationCount(), asked) << bytes;
  return isDone;
}

// Pools that start and end at multiples of 8, from the smallest to the first that is large enough.
int FaultSweeper::everyPoolThatIsTooSmall() {
  constexpr std::size_t kFineBytes = kIsFast ? 8192 : 512;
  constexpr std::size_t kCoarseSteps = kIsFast ? 500 : 50;
  std::size_t enough = 64;
  for (; !fitsIn(enough); enough *= 2)
    if (enough >= std::size_t{1} << 24) return 0;
  const std::size_t coarse = enough / kCoarseSteps / 8 * 8 + 8;
  int pools = 0;
  for (std::size_t bytes = 40; bytes < enough; bytes += bytes < kFineBytes ? 8 : coarse) {
    fitsIn(bytes);
    ++pools;
  }
  return pools;
}

} // namespace tlux::test

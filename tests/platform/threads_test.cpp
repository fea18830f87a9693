#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <vector>

#include "platform/worker_team.hpp"
#include "support/fault_injection.hpp"
#include "tlux/platform.h"

namespace tlux::test {
namespace {

using namespace detail;

constexpr int kForever = -1;

TEST(Event, RemembersOneSignalUntilItIsWaitedFor) {
  TLUX_MEvent* event = TLUX_MEventCreate();
  EXPECT_EQ(TLUX_MEventSignal(event), 0);
  EXPECT_EQ(TLUX_MEventSignal(event), 0);
  EXPECT_EQ(TLUX_MEventWait(event, kForever), 0);
  EXPECT_EQ(TLUX_MEventWait(event, 0), 0); // a poll succeeds either way
  TLUX_MEventSignal(event);
  EXPECT_EQ(TLUX_MEventWait(event, 1000), 0); // and takes the signal with it
  EXPECT_EQ(TLUX_MEventDestroy(nullptr, event), 0);
}

TEST(Event, HandsEveryStepOfOneThreadToAnother) {
  struct Shared {
    TLUX_MEvent* ready = TLUX_MEventCreate();
    TLUX_MEvent* taken = TLUX_MEventCreate();
    int value = 0; // guarded by the hand-over alone
    long sum = 0;
  } shared;
  constexpr int kSteps = 1000;
  const TLUX_MThread consumer = TLUX_MThreadCreate(
      [](void* argument) -> void* {
        auto& s = *static_cast<Shared*>(argument);
        for (int i = 0; i < kSteps; ++i) {
          TLUX_MEventWait(s.ready, kForever);
          s.sum += s.value;
          TLUX_MEventSignal(s.taken);
        }
        return nullptr;
      },
      &shared);
  ASSERT_NE(consumer, 0u);
  for (int i = 0; i < kSteps; ++i) {
    shared.value = i;
    TLUX_MEventSignal(shared.ready);
    TLUX_MEventWait(shared.taken, kForever);
  }
  EXPECT_EQ(MWaitForSingleThread(consumer, ~0u), 0);
  EXPECT_EQ(shared.sum, kSteps * (kSteps - 1) / 2);
  TLUX_MEventDestroy(nullptr, shared.ready);
  TLUX_MEventDestroy(nullptr, shared.taken);
}

TEST(Threads, BadArgumentsAreAnswered) {
  EXPECT_EQ(TLUX_MEventWait(nullptr, kForever), -2);
  EXPECT_EQ(TLUX_MEventSignal(nullptr), -2);
  EXPECT_EQ(TLUX_MEventDestroy(nullptr, nullptr), -2);
  EXPECT_EQ(TLUX_MThreadCreate(nullptr, nullptr), 0u);
  EXPECT_EQ(TLUX_MThreadExit(0), 0);
  EXPECT_EQ(MWaitForSingleThread(0, 0), 0);
  EXPECT_EQ(TLUX_MThreadDestory(0), 0);
  failAllocation(1);
  EXPECT_EQ(TLUX_MEventCreate(), nullptr);
}

// A share in which two calls at the same time would be seen in one slot, or an item done twice.
void expectEveryItemOnce(Team& team) {
  for (const int items : {0, 1, 3, 4, 100}) {
    std::atomic<int> running{0};
    std::vector<int> runs(100);
    std::atomic<bool> taken[WorkerTeam::kSize] = {};
    team.share(items, [&](std::int64_t item, int slot) {
      ++running;
      EXPECT_FALSE(taken[slot].exchange(true));
      ++runs[static_cast<std::size_t>(item)];
      taken[slot] = false;
      --running;
    });
    EXPECT_EQ(running, 0);
    EXPECT_EQ(std::count(runs.begin(), runs.end(), 1), items);
    EXPECT_EQ(std::count(runs.begin(), runs.end(), 0), 100 - items);
  }
}

TEST(WorkerTeam, DoesEveryItemOnceWhateverThreadsItHas) {
  for (int participants = 1; participants <= WorkerTeam::kSize; ++participants) {
    for (const bool isAsked : {true, false}) { // whether the caller or a thread starts the others
      const int faults = sweepFaults(failThreadStart, [&] {
        WorkerTeam team(participants);
        EXPECT_TRUE(!isAsked || team.isComplete() == !faultFired());
        expectEveryItemOnce(team);
        team.dismiss();
        expectEveryItemOnce(team);
      });
      EXPECT_TRUE(!isAsked || faults == participants - 1);
    }
  }
}

TEST(WorkerTeam, HasAsManyAsThereAreProcessors) {
  for (const auto& [processors, participants] :
       {std::pair{1, 1}, {2, 2}, {3, 3}, {4, 4}, {64, 4}}) {
    pretendProcessors(processors);
    EXPECT_EQ(WorkerTeam().started(), participants - 1);
  }
  pretendProcessors(0);
}

// Four items that wait for each other are done by four threads at the same time, in four slots;
// a share lasts until the slowest of them is done.
TEST(WorkerTeam, GivesEachThreadASlotAndWaitsForAll) {
  WorkerTeam team(WorkerTeam::kSize);
  ASSERT_TRUE(team.isComplete());
  for (int round = 0; round < 3; ++round) {
    std::atomic<int> slots{0}; // a bit each
    std::atomic<int> inside{0};
    std::atomic<int> done{0};
    team.share(WorkerTeam::kSize, [&](std::int64_t, int slot) {
      slots |= 1 << slot;
      ++inside;
      const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
      while (inside < WorkerTeam::kSize && std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
      if (slot != 0) std::this_thread::sleep_for(std::chrono::milliseconds(20));
      ++done;
    });
    EXPECT_EQ(done, WorkerTeam::kSize);
    EXPECT_EQ(slots, (1 << WorkerTeam::kSize) - 1);
  }
}

// Each share reads what the previous one wrote, no matter which thread did it, and no other memory.
TEST(WorkerTeam, HandsTheResultsOfAShareToTheNext) {
  constexpr std::int64_t kItems = 64;
  long values[kItems] = {};
  WorkerTeam team(WorkerTeam::kSize);
  for (int round = 0; round < 500; ++round) {
    team.share(kItems, [&](std::int64_t item, int) { values[item] += item; });
    team.share(kItems, [&](std::int64_t item, int) { values[kItems - 1 - item] -= 1; });
  }
  for (std::int64_t item = 0; item < kItems; ++item) {
    EXPECT_EQ(values[item], 500 * (item - 1));
  }
}

} // namespace
} // namespace tlux::test

#include <gtest/gtest.h>

#include <atomic>

#include "platform/workers.hpp"
#include "support/fault_injection.hpp"
#include "tlux/platform.h"

namespace tlux::test {
namespace {

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

TEST(Workers, RunOnceEachAndAreJoinedWhenAStartFails) {
  sweepFaults(failThreadStart, [] {
    std::atomic<int> running{0};
    int runs[4] = {};
    auto work = [&](int index) {
      ++running;
      ++runs[index];
      --running;
    };
    const bool complete = runOnWorkers<4>(work);
    EXPECT_EQ(running, 0);
    EXPECT_EQ(complete, !faultFired());
    bool earlierRan = true;
    for (const int count : runs) {
      EXPECT_LE(count, earlierRan ? 1 : 0);
      earlierRan = count == 1;
    }
    EXPECT_EQ(runs[3], complete ? 1 : 0);
  });
}

} // namespace
} // namespace tlux::test

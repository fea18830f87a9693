#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "tlux/base.h"

namespace tlux::test {

// Makes the n-th call from now on fail (1 is the next one, 0 is none). Sees the malloc, realloc and
// pthread_create calls of the library and of the test program, not those of shared libraries.
void failAllocation(int n);
void failThreadStart(int n);
// Makes the library believe that the process may use so many processors; 0: as many as it may.
void pretendProcessors(int count);
// Whether the fault asked for last has happened.
bool faultFired();

// Blocks allocated and not yet released; compare before and after a call to find a leak.
long liveAllocations();
// Threads started and not yet joined.
long liveThreads();
// Allocations asked for since the program started.
long allocationCount();

// Calls attempt() with the n-th allocation (thread start) failing, for n = 1, 2, … until a call
// meets no fault. faultFired() tells attempt() which kind of result to expect. Returns the faults
// injected.
template <class Attempt>
int sweepFaults(void (*failNth)(int), Attempt&& attempt) {
  for (int n = 1;; ++n) {
    failNth(n);
    attempt();
    const bool fired = faultFired();
    failNth(0);
    if (!fired) return n - 1;
  }
}

// Sweeps call(): with a fault it answers `code`, without one TLUX_OK, and nothing stays allocated.
template <class Call>
int sweepResults(void (*failNth)(int), std::uint32_t code, Call&& call) {
  const long live = liveAllocations();
  return sweepFaults(failNth, [&] {
    const std::uint32_t result = call();
    EXPECT_EQ(result, faultFired() ? code : TLUX_OK);
    EXPECT_EQ(liveAllocations(), live);
  });
}
template <class Call>
int sweepAllocations(Call&& call) {
  return sweepResults(failAllocation, TLUX_ERR_NO_MEMORY, call);
}
template <class Call>
int sweepThreads(Call&& call) {
  return sweepResults(failThreadStart, TLUX_ERR_THREAD, call);
}

} // namespace tlux::test

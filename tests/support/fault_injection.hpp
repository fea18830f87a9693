#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "tlux/base.h"

namespace tlux::test {

// Makes the n-th call from now on fail (1 is the next one, 0 none). Affects malloc, realloc and
// pthread_create calls of the library and of the test program, not of shared libraries.
void failAllocation(int n);
void failThreadStart(int n);
// Makes the library believe that the process may use this many processors; 0: the real number.
void pretendProcessors(int count);
// Whether the latest requested fault has happened.
bool faultFired();

// Blocks allocated and not yet released; compare before and after a call to find a leak.
long liveAllocations();
// Threads started and not yet joined.
long liveThreads();
// Allocations requested since the program started.
long allocationCount();

// Calls attempt() with the n-th allocation (thread start) failing, for n = 1, 2, … until no fault
// occurs. attempt() uses faultFired() to know which result to expect. Returns the number of faults
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

// Sweeps call(): with a fault it returns `code`, without one TLUX_OK, and nothing stays allocated.
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

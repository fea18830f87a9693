#pragma once

#include <cstdint>
#include <thread>
#include <vector>

#include "tlux/stream.h"

namespace tlux::test {

// Runners for callers: all parts in reverse order on one thread, or each on a separate thread.
inline std::uint32_t runBackwards(void* /*context*/, TLUX_PART part, void* work,
                                  std::uint32_t count) {
  while (count-- > 0)
    part(work, count);
  return TLUX_OK;
}

inline std::uint32_t runAtOnce(void* /*context*/, TLUX_PART part, void* work, std::uint32_t count) {
  std::vector<std::thread> threads;
  for (std::uint32_t i = 0; i < count; ++i)
    threads.emplace_back(part, work, i);
  for (std::thread& thread : threads)
    thread.join();
  return TLUX_OK;
}

} // namespace tlux::test

#pragma once

#include <cstdint>
#include <thread>
#include <vector>

#include "stream/scoped_stream.hpp"

namespace tlux::test {

// Runners of a caller's: the parts backwards, one after the other; each in a thread of its own.
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

inline std::vector<TLUX_STREAM_OPTIONS> everyKindOfThreads(std::uint32_t tones) {
  std::vector<TLUX_STREAM_OPTIONS> kinds;
  for (const std::uint32_t threads : {0U, 1U, 2U, 5U}) {
    kinds.push_back(streamOptions(tones));
    kinds.back().threads = threads;
  }
  for (const TLUX_PARALLEL_FOR run : {runBackwards, runAtOnce}) {
    for (const std::uint32_t workers : {1U, 3U, 64U}) {
      kinds.push_back(streamOptions(tones));
      kinds.back().parallelFor = run;
      kinds.back().workers = workers;
    }
  }
  return kinds;
}

} // namespace tlux::test

#pragma once

#include <cstdint>
#include <vector>

#include "stream/scoped_stream.hpp"
#include "support/runners.hpp"

namespace tlux::test {

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

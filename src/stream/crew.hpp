#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <type_traits>

#include "platform/worker_team.hpp"
#include "tlux/stream.h"

namespace tlux {

// Who works on a frame: the calling thread alone, the caller's parallel for, or threads that stay
// with the stream.
class Crew {
 public:
  explicit Crew(const TLUX_STREAM_OPTIONS& options);

  int size() const { return size_; }

  // Makes sure of the stream's own threads. False when they cannot be started.
  [[nodiscard]] bool start();

  // Calls work(item, slot) for the items 0 to count − 1 and waits for all. Of the calls that run at
  // the same time no two have the same slot, 0 to size() − 1. False when the caller's parallel for
  // says that it failed; what it left over is done all the same.
  template <class Work>
  bool share(std::int64_t count, Work&& work) {
    using Callable = std::remove_reference_t<Work>;
    const Job job = {[](void* callable, std::int64_t item, int slot) {
                       (*static_cast<Callable*>(callable))(item, slot);
                     },
                     &work, count};
    return perform(job);
  }

 private:
  struct Job {
    void (*call)(void* work, std::int64_t item, int slot);
    void* work;
    std::int64_t count;
  };

  bool perform(const Job& job);
  bool performByCaller(const Job& job);

  TLUX_PARALLEL_FOR parallelFor_;
  void* context_;
  int size_;
  std::optional<WorkerTeam> threads_;
};

} // namespace tlux

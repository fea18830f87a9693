#pragma once

#include <array>

#include "tlux/platform.h"

namespace tlux {

// Runs work(0) … work(Count − 1), each on a thread of its own, and waits for all of them.
//
// Whatever happens, every thread that was started has ended on return. Returns false when one could
// not be started; the later ones are then not started either, so part of the work may be undone.
template <int Count, class Work>
[[nodiscard]] bool runOnWorkers(Work& work) {
  struct Worker {
    Work* work;
    int index;
    TLUX_MThread thread;

    static void* run(void* self) {
      auto* worker = static_cast<Worker*>(self);
      (*worker->work)(worker->index);
      return nullptr;
    }
  };

  std::array<Worker, Count> workers{};
  int started = 0;
  while (started < Count) {
    Worker& worker = workers[started];
    worker = {&work, started, 0};
    worker.thread = TLUX_MThreadCreate(&Worker::run, &worker);
    if (worker.thread == 0) break;
    ++started;
  }
  for (int i = 0; i < started; ++i) {
    MWaitForSingleThread(workers[i].thread, ~0u);
  }
  return started == Count;
}

} // namespace tlux

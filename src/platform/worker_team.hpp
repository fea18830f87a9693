#pragma once

#include <pthread.h>

#include <array>
#include <atomic>
#include <cstdint>

#include "platform/team.hpp"
#include "tlux/platform.h"

namespace tlux {

// Threads that wait for work as long as the team lives, so that one start serves several shares.
//
// Items of work are not dealt out in advance: whoever is free claims the next one, since cores are
// of different speed and busy with other things. The calling thread takes part; a thread that wakes
// up late finds the work done.
class WorkerTeam : public Team {
 public:
  static constexpr int kSize = 4;

  static constexpr int kMostThreads = 63;

  // Starts the first thread, which starts the others while the caller is already at work. When one
  // cannot be started, the later ones are not started either. `threads` is at least 1, kMostThreads
  // at most; `size` counts the caller, too.
  explicit WorkerTeam(int threads = kSize, int size = kSize);
  WorkerTeam(const WorkerTeam&) = delete;
  WorkerTeam& operator=(const WorkerTeam&) = delete;
  // Every thread that was started has ended on return.
  ~WorkerTeam();

  // Waits until no thread is yet to be started.
  int started();
  bool isComplete() { return started() == wanted_; }

 private:
  static void* run(void* team);
  static void* runFirst(void* team);
  void startOthers();
  void finishStart(int started);
  void perform(std::int64_t count, Call call, void* work);
  void takePart(int slot);
  void serve();
  bool canJoin(std::int64_t served) const;
  void waitForShare();

  // The first handle is the caller's, the others are the first thread's until that has ended.
  std::array<TLUX_MThread, kMostThreads> threads_{};
  int wanted_;

  pthread_mutex_t mutex_;  // guards what follows, but for the items of an open share
  pthread_cond_t started_; // all threads are started that can be
  pthread_cond_t opened_;  // a share was opened, or the team dismissed
  pthread_cond_t left_;    // the last participant left a share
  int startedCount_ = -1;  // below 0: not known yet
  bool isOpen_ = false;
  bool isWatched_ = false; // by a thread that looks for the next share instead of sleeping
  std::atomic<std::int64_t> shares_{0};
  std::atomic<bool> isDismissed_{false};
  int slots_ = 0;              // taken in the open share
  std::atomic<int> active_{0}; // threads, but for the caller's, inside the share

  Call call_ = nullptr;
  void* work_ = nullptr;
  std::int64_t count_ = 0;
  std::atomic<std::int64_t> next_{0};
};

} // namespace tlux

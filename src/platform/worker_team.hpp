#pragma once

#include <pthread.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "platform/team.hpp"
#include "tlux/platform.h"

namespace tlux::detail {

// How many can be at work at the same time, the caller among them: the processors that this process
// may use, at most WorkerTeam::kSize.
int usefulParticipants();

// Threads that wait for work as long as the team lives, so that one start serves several shares.
// The calling thread takes part from the beginning and waits for nobody to start: a thread that is
// late finds the work done.
//
// Items of work are not dealt out in advance: whoever is free claims the next one, since cores are
// of different speed and busy with other things.
class WorkerTeam : public Team {
 public:
  static constexpr int kSize = 4; // participants in what the library does by itself
  static constexpr int kMostThreads = 63;

  // A team of so many, the caller among them, at most kMostThreads + 1. The first thread starts the
  // others while the caller is already at work. When one cannot be started, the later ones are not
  // started either.
  explicit WorkerTeam(int participants = usefulParticipants());
  WorkerTeam(const WorkerTeam&) = delete;
  WorkerTeam& operator=(const WorkerTeam&) = delete;
  // Every thread that was started has ended on return.
  ~WorkerTeam();

  // Threads that were started, beside the caller; none is yet to be started on return.
  int started();
  bool isComplete() { return started() == wanted_; }

  // Lets the threads end while the caller goes on: what is shared from now on it does alone.
  void dismiss();

 private:
  static void* run(void* team);
  void startOthers();
  void startNext();
  void perform(std::int64_t count, Call call, void* work);
  void takePart(int slot);
  void serve();
  bool canJoin(std::int64_t served) const;
  void waitForShare();

  const int wanted_; // threads

  pthread_mutex_t starting_; // guards what is about starting
  std::array<TLUX_MThread, kMostThreads> threads_{};
  int startedCount_ = 0;
  bool hasFailed_ = false;

  pthread_mutex_t mutex_; // guards what follows, but for the items of an open share
  pthread_cond_t opened_; // a share was opened, or the team dismissed
  pthread_cond_t left_;   // the last participant left a share
  bool isOpen_ = false;
  std::atomic<std::int64_t> shares_{0};
  std::atomic<bool> isDismissed_{false};
  int slots_ = 0;              // taken in the open share
  std::atomic<int> active_{0}; // threads inside the share

  Call call_ = nullptr;
  void* work_ = nullptr;
  std::int64_t count_ = 0;
  std::atomic<std::int64_t> next_{0};
};

} // namespace tlux::detail

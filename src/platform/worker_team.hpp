#pragma once

#include <pthread.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "platform/team.hpp"
#include "tlux/platform.h"

namespace tlux::detail {

// How many threads can work at the same time, including the caller: the processors this process may
// use, at most WorkerTeam::kSize.
int usefulParticipants();

// Threads that wait for work as long as the team lives, so one start serves several shares. The
// calling thread takes part from the beginning and does not wait for the others to start: a late
// thread finds the work done.
//
// Each participant begins with the same part of the items in every share, so that the caches of its
// core still hold what it wrote in the previous share. When its part is done it takes items of
// other participants, one by one, since cores differ in speed and may be busy.
class WorkerTeam : public Team {
 public:
  static constexpr int kSize = 4; // participants when the library picks the number itself
  static constexpr int kMostThreads = 63;

  // A team of this many participants including the caller, at most kMostThreads + 1. The first
  // thread starts the others while the caller is already working. When one cannot be started, the
  // later ones are not started either.
  explicit WorkerTeam(int participants = usefulParticipants());
  WorkerTeam(const WorkerTeam&) = delete;
  WorkerTeam& operator=(const WorkerTeam&) = delete;
  // Every started thread has ended on return.
  ~WorkerTeam();

  // Threads that were started, not counting the caller; no start is pending on return.
  int started();
  bool isComplete() { return started() == wanted_; }

  // Lets the threads end while the caller goes on: the caller does later shares alone.
  void dismiss();

 private:
  static void* run(void* team);
  void startOthers();
  void startNext();
  void perform(std::int64_t count, Call call, void* work);
  void dealOut(std::int64_t count);
  void takePart(int slot);
  void serve();
  void waitForShare();

  const int wanted_; // threads

  pthread_mutex_t starting_; // guards the members about starting
  std::array<TLUX_MThread, kMostThreads> threads_{};
  int startedCount_ = 0;
  bool hasFailed_ = false;

  pthread_mutex_t mutex_; // guards the members below, except the items of an open share
  pthread_cond_t opened_; // a share was opened or the team dismissed
  pthread_cond_t left_;   // the last participant left a share
  bool isOpen_ = false;
  std::atomic<std::int64_t> shares_{0};
  std::atomic<bool> isDismissed_{false};
  int slots_ = 1;              // given to participants
  int joined_ = 0;             // participants of the open share
  std::atomic<int> active_{0}; // threads inside the share

  // The items that a participant begins with.
  struct Items {
    std::atomic<std::int64_t> next{0};
    std::int64_t end = 0;
  };

  Call call_ = nullptr;
  void* work_ = nullptr;
  std::array<Items, kMostThreads + 1> items_;
};

} // namespace tlux::detail

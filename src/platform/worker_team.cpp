#include "platform/worker_team.hpp"

#include <sched.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>

namespace tlux::detail {
namespace {

// How long to spin before going to sleep: waking a sleeping processor takes about as long as a
// small share.
constexpr std::int64_t kLooks = 150'000; // ns

std::int64_t now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// Yields the processor to other work while spinning.
template <class IsOver>
void watch(IsOver isOver) {
  const std::int64_t end = now() + kLooks;
  while (!isOver() && now() < end) {
    sched_yield();
  }
}

class Lock {
 public:
  explicit Lock(pthread_mutex_t& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
  ~Lock() { pthread_mutex_unlock(&mutex_); }

 private:
  pthread_mutex_t& mutex_;
};

} // namespace

int usefulParticipants() {
#if defined(__linux__)
  cpu_set_t processors;
  const bool isKnown = sched_getaffinity(0, sizeof processors, &processors) == 0;
  const long count = isKnown ? CPU_COUNT(&processors) : sysconf(_SC_NPROCESSORS_ONLN);
#else
  const long count = sysconf(_SC_NPROCESSORS_ONLN);
#endif
  return static_cast<int>(std::clamp<long>(count, 1, WorkerTeam::kSize));
}

WorkerTeam::WorkerTeam(int participants)
    : Team([](Team& team, std::int64_t count, Call call,
              void* work) { static_cast<WorkerTeam&>(team).perform(count, call, work); },
           std::clamp(participants, 1, kMostThreads + 1)),
      wanted_(size() - 1) {
  if (wanted_ == 0) return;
  pthread_mutex_init(&starting_, nullptr);
  pthread_mutex_init(&mutex_, nullptr);
  pthread_cond_init(&opened_, nullptr);
  pthread_cond_init(&left_, nullptr);
  const Lock lock(starting_);
  startNext();
}

WorkerTeam::~WorkerTeam() {
  if (wanted_ == 0) return;
  dismiss();
  // The first thread may still be starting others, but is done with that when it ends.
  if (threads_[0] != 0) MWaitForSingleThread(threads_[0], ~0u);
  for (std::size_t i = 1; i < threads_.size(); ++i) {
    if (threads_[i] != 0) MWaitForSingleThread(threads_[i], ~0u);
  }
  pthread_cond_destroy(&left_);
  pthread_cond_destroy(&opened_);
  pthread_mutex_destroy(&mutex_);
  pthread_mutex_destroy(&starting_);
}

void WorkerTeam::dismiss() {
  if (wanted_ == 0) return;
  const Lock lock(mutex_);
  isDismissed_ = true;
  pthread_cond_broadcast(&opened_);
}

void* WorkerTeam::run(void* team) {
  auto& own = *static_cast<WorkerTeam*>(team);
  own.startOthers();
  own.serve();
  return nullptr;
}

// Call with starting_ held.
void WorkerTeam::startNext() {
  const TLUX_MThread thread = TLUX_MThreadCreate(&WorkerTeam::run, this);
  if (thread == 0) {
    hasFailed_ = true;
  } else {
    threads_[static_cast<std::size_t>(startedCount_++)] = thread;
  }
}

// Threads are started one by one by whoever comes first: each thread when it begins, or the caller
// when it needs the count.
void WorkerTeam::startOthers() {
  const Lock lock(starting_);
  while (startedCount_ < wanted_ && !hasFailed_) {
    startNext();
  }
}

int WorkerTeam::started() {
  if (wanted_ == 0) return 0;
  startOthers();
  const Lock lock(starting_);
  return startedCount_;
}

void WorkerTeam::dealOut(std::int64_t count) {
  std::int64_t first = 0;
  for (int slot = 0; slot < size(); ++slot) {
    Items& items = items_[static_cast<std::size_t>(slot)];
    items.next.store(first, std::memory_order_relaxed);
    items.end = first += count / size() + (slot < count % size() ? 1 : 0);
  }
}

void WorkerTeam::takePart(int slot) {
  for (int i = 0; i < size(); ++i) {
    Items& items = items_[static_cast<std::size_t>((slot + i) % size())];
    while (true) {
      const std::int64_t item = items.next.fetch_add(1, std::memory_order_relaxed);
      if (item >= items.end) break;
      call_(work_, item, slot);
    }
  }
}

void WorkerTeam::perform(std::int64_t count, Call call, void* work) {
  if (wanted_ == 0 || count == 1 || isDismissed_) {
    for (std::int64_t item = 0; item < count; ++item) {
      call(work, item, 0);
    }
    return;
  }
  {
    const Lock lock(mutex_);
    call_ = call;
    work_ = work;
    dealOut(count);
    joined_ = 1;
    isOpen_ = true;
    ++shares_;
    pthread_cond_signal(&opened_); // also when one looks: it may have lost its processor meanwhile
  }
  takePart(0);
  watch([this] { return active_ == 0; });
  const Lock lock(mutex_);
  isOpen_ = false;
  while (active_ > 0) {
    pthread_cond_wait(&left_, &mutex_);
  }
}

// Call with the mutex held, when there is nothing to join. May return without a share.
void WorkerTeam::waitForShare() {
  const std::int64_t seen = shares_;
  const auto isOver = [this, seen] { return shares_ != seen || isDismissed_; };
  pthread_mutex_unlock(&mutex_);
  watch(isOver);
  pthread_mutex_lock(&mutex_);
  if (!isOver()) pthread_cond_wait(&opened_, &mutex_);
}

// A thread enters each share once: when it leaves, no item is left to claim. Each thread wakes the
// next, so the caller need not wake them all.
void WorkerTeam::serve() {
  std::int64_t served = 0;
  const Lock lock(mutex_);
  const int slot = slots_++;
  while (!isDismissed_) {
    if (!isOpen_ || served == shares_) {
      waitForShare();
      continue;
    }
    served = shares_;
    ++active_;
    if (++joined_ < size()) pthread_cond_signal(&opened_);
    pthread_mutex_unlock(&mutex_);
    takePart(slot);
    pthread_mutex_lock(&mutex_);
    if (--active_ == 0) pthread_cond_signal(&left_);
  }
}

} // namespace tlux::detail

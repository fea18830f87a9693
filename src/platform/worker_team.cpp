#include "platform/worker_team.hpp"

#include <sched.h>
#include <time.h>

namespace tlux {
namespace {

// How long somebody looks whether a wait is over before going to sleep: waking up a sleeping
// processor takes about as long as a small share. The caller looks for less, since it may keep from
// work the very thread it waits for; a thread without work leaves the processor to whoever has
// some.
constexpr std::int64_t kCallerLooks = 10'000; // ns
constexpr std::int64_t kThreadLooks = 100'000;

std::int64_t now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

template <class IsOver, class Pause>
void watch(std::int64_t duration, IsOver isOver, Pause pause) {
  const std::int64_t end = now() + duration;
  while (!isOver() && now() < end) {
    pause();
  }
}

} // namespace

WorkerTeam::WorkerTeam(int threads, int size)
    : Team([](Team& team, std::int64_t count, Call call,
              void* work) { static_cast<WorkerTeam&>(team).perform(count, call, work); },
           size),
      wanted_(threads) {
  pthread_mutex_init(&mutex_, nullptr);
  pthread_cond_init(&started_, nullptr);
  pthread_cond_init(&opened_, nullptr);
  pthread_cond_init(&left_, nullptr);
  threads_[0] = TLUX_MThreadCreate(&WorkerTeam::runFirst, this);
  if (threads_[0] == 0) finishStart(0);
}

WorkerTeam::~WorkerTeam() {
  pthread_mutex_lock(&mutex_);
  isDismissed_ = true;
  pthread_cond_broadcast(&opened_);
  pthread_mutex_unlock(&mutex_);
  for (const TLUX_MThread& thread : threads_) { // the first has started the others when it ends
    if (thread != 0) MWaitForSingleThread(thread, ~0u);
  }
  pthread_cond_destroy(&left_);
  pthread_cond_destroy(&opened_);
  pthread_cond_destroy(&started_);
  pthread_mutex_destroy(&mutex_);
}

void* WorkerTeam::run(void* team) {
  static_cast<WorkerTeam*>(team)->serve();
  return nullptr;
}

void* WorkerTeam::runFirst(void* team) {
  static_cast<WorkerTeam*>(team)->startOthers();
  return run(team);
}

void WorkerTeam::startOthers() {
  int started = 1;
  for (; started < wanted_; ++started) {
    const TLUX_MThread thread = TLUX_MThreadCreate(&WorkerTeam::run, this);
    if (thread == 0) break;
    threads_[static_cast<std::size_t>(started)] = thread;
  }
  finishStart(started);
}

void WorkerTeam::finishStart(int started) {
  pthread_mutex_lock(&mutex_);
  startedCount_ = started;
  pthread_cond_signal(&started_);
  pthread_mutex_unlock(&mutex_);
}

int WorkerTeam::started() {
  pthread_mutex_lock(&mutex_);
  while (startedCount_ < 0) {
    pthread_cond_wait(&started_, &mutex_);
  }
  const int started = startedCount_;
  pthread_mutex_unlock(&mutex_);
  return started;
}

void WorkerTeam::takePart(int slot) {
  while (true) {
    const std::int64_t item = next_.fetch_add(1, std::memory_order_relaxed);
    if (item >= count_) return;
    call_(work_, item, slot);
  }
}

void WorkerTeam::perform(std::int64_t count, Call call, void* work) {
  pthread_mutex_lock(&mutex_);
  call_ = call;
  work_ = work;
  count_ = count;
  next_.store(0, std::memory_order_relaxed);
  slots_ = 1;
  isOpen_ = true;
  ++shares_;
  pthread_cond_signal(&opened_); // also when one looks: it may have lost its processor meanwhile
  pthread_mutex_unlock(&mutex_);

  takePart(0);

  watch(
      kCallerLooks, [this] { return active_ == 0; }, [] {});
  pthread_mutex_lock(&mutex_);
  isOpen_ = false;
  while (active_ > 0) {
    pthread_cond_wait(&left_, &mutex_);
  }
  pthread_mutex_unlock(&mutex_);
}

bool WorkerTeam::canJoin(std::int64_t served) const {
  return isOpen_ && served != shares_ && slots_ < size();
}

// With the mutex held, when there is nothing to join. May end without a share.
void WorkerTeam::waitForShare() {
  const std::int64_t seen = shares_;
  const auto isOver = [this, seen] { return shares_ != seen || isDismissed_; };
  if (!isWatched_) {
    isWatched_ = true;
    pthread_mutex_unlock(&mutex_);
    watch(kThreadLooks, isOver, [] { sched_yield(); });
    pthread_mutex_lock(&mutex_);
    isWatched_ = false;
  }
  if (!isOver()) pthread_cond_wait(&opened_, &mutex_);
}

// A thread enters each share once: when it leaves, no item is left to claim. Each wakes up the next
// one, so that the caller need not wake them all.
void WorkerTeam::serve() {
  std::int64_t served = 0;
  pthread_mutex_lock(&mutex_);
  while (!isDismissed_) {
    if (!canJoin(served)) {
      waitForShare();
      continue;
    }
    served = shares_;
    const int slot = slots_++;
    ++active_;
    if (slots_ < size()) pthread_cond_signal(&opened_);
    pthread_mutex_unlock(&mutex_);
    takePart(slot);
    pthread_mutex_lock(&mutex_);
    if (--active_ == 0) pthread_cond_signal(&left_);
  }
  pthread_mutex_unlock(&mutex_);
}

} // namespace tlux

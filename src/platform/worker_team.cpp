#include "platform/worker_team.hpp"

namespace tlux {

WorkerTeam::WorkerTeam() {
  pthread_mutex_init(&mutex_, nullptr);
  pthread_cond_init(&opened_, nullptr);
  pthread_cond_init(&left_, nullptr);
  for (TLUX_MThread& thread : threads_) {
    thread = TLUX_MThreadCreate(&WorkerTeam::run, this);
    if (thread == 0) break;
    ++started_;
  }
}

WorkerTeam::~WorkerTeam() {
  pthread_mutex_lock(&mutex_);
  isDismissed_ = true;
  pthread_cond_broadcast(&opened_);
  pthread_mutex_unlock(&mutex_);
  for (int i = 0; i < started_; ++i) {
    MWaitForSingleThread(threads_[static_cast<std::size_t>(i)], ~0u);
  }
  pthread_cond_destroy(&left_);
  pthread_cond_destroy(&opened_);
  pthread_mutex_destroy(&mutex_);
}

void* WorkerTeam::run(void* team) {
  static_cast<WorkerTeam*>(team)->serve();
  return nullptr;
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
  pthread_cond_broadcast(&opened_);
  pthread_mutex_unlock(&mutex_);

  takePart(0);

  pthread_mutex_lock(&mutex_);
  isOpen_ = false;
  while (active_ > 0) {
    pthread_cond_wait(&left_, &mutex_);
  }
  pthread_mutex_unlock(&mutex_);
}

// A thread enters each share once: when it leaves, no item is left to claim.
void WorkerTeam::serve() {
  std::int64_t served = 0;
  pthread_mutex_lock(&mutex_);
  while (!isDismissed_) {
    if (!isOpen_ || served == shares_ || slots_ == kSize) {
      pthread_cond_wait(&opened_, &mutex_);
      continue;
    }
    served = shares_;
    const int slot = slots_++;
    ++active_;
    pthread_mutex_unlock(&mutex_);
    takePart(slot);
    pthread_mutex_lock(&mutex_);
    if (--active_ == 0) pthread_cond_signal(&left_);
  }
  pthread_mutex_unlock(&mutex_);
}

} // namespace tlux

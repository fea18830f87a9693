#include "support/fault_injection.hpp"

#include <pthread.h>
#include <sched.h>

#include <atomic>
#include <cerrno>
#include <cstddef>

namespace {

std::atomic<int> allocationsToFault{0};
std::atomic<int> threadStartsToFault{0};
std::atomic<int> processors{0};
std::atomic<bool> fired{false};
std::atomic<long> live{0};
std::atomic<long> asked{0};
std::atomic<long> running{0};

bool isFault(std::atomic<int>& countdown) {
  if (countdown.load() == 0 || countdown.fetch_sub(1) != 1) return false;
  fired = true;
  return true;
}

void arm(std::atomic<int>& countdown, int n) {
  fired = false;
  countdown = n;
}

} // namespace

namespace tlux::test {

void failAllocation(int n) {
  arm(allocationsToFault, n);
}

void failThreadStart(int n) {
  arm(threadStartsToFault, n);
}

void pretendProcessors(int count) {
  processors = count;
}

bool faultFired() {
  return fired;
}

long liveAllocations() {
  return live;
}

long liveThreads() {
  return running;
}

long allocationCount() {
  return asked;
}

} // namespace tlux::test

// The linker redirects the calls here (--wrap).
extern "C" {

void* __real_malloc(std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*routine)(void*), void* argument);
int __real_sched_getaffinity(pid_t process, std::size_t size, cpu_set_t* set);
int __real_pthread_join(pthread_t thread, void** result);

void* __wrap_malloc(std::size_t size) {
  ++asked;
  if (isFault(allocationsToFault)) return nullptr;
  void* block = __real_malloc(size);
  if (block != nullptr) ++live;
  return block;
}

void* __wrap_realloc(void* block, std::size_t size) {
  ++asked;
  if (isFault(allocationsToFault)) return nullptr;
  void* moved = __real_realloc(block, size);
  if (block == nullptr && moved != nullptr) ++live;
  return moved;
}

void __wrap_free(void* block) {
  if (block != nullptr) --live;
  __real_free(block);
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*routine)(void*), void* argument) {
  if (isFault(threadStartsToFault)) return EAGAIN;
  const int error = __real_pthread_create(thread, attributes, routine, argument);
  if (error == 0) ++running;
  return error;
}

int __wrap_sched_getaffinity(pid_t process, std::size_t size, cpu_set_t* set) {
  const int error = __real_sched_getaffinity(process, size, set);
  if (processors == 0 || error != 0) return error;
  CPU_ZERO(set);
  for (int i = 0; i < processors; ++i) {
    CPU_SET(i, set);
  }
  return 0;
}

int __wrap_pthread_join(pthread_t thread, void** result) {
  const int error = __real_pthread_join(thread, result);
  if (error == 0) --running;
  return error;
}

} // extern "C"

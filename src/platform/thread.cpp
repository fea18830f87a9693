#include <pthread.h>

#include <type_traits>

#include "tlux/platform.h"

// The handle is the thread library's own number.
static_assert(std::is_integral_v<pthread_t> && sizeof(pthread_t) <= sizeof(TLUX_MThread));

TLUX_MThread TLUX_MThreadCreate(void* (*routine)(void*), void* argument) noexcept {
  pthread_t thread = 0;
  if (routine == nullptr || pthread_create(&thread, nullptr, routine, argument) != 0) return 0;
  return thread;
}

int32_t TLUX_MThreadExit(TLUX_MThread thread) noexcept {
  if (thread != 0) pthread_join(static_cast<pthread_t>(thread), nullptr);
  return 0;
}

int32_t TLUX_MThreadDestory(TLUX_MThread) noexcept {
  return 0;
}

int32_t MWaitForSingleThread(TLUX_MThread thread, uint32_t) noexcept {
  return TLUX_MThreadExit(thread);
}

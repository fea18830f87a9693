#include <pthread.h>

#include <cstdlib>

#include "tlux/platform.h"

struct TLUX_MEvent {
  pthread_mutex_t mutex;
  pthread_cond_t cond;
  uint64_t signalled;
};

namespace {

constexpr int32_t kFailed = -1;
constexpr int32_t kNullEvent = -2;
constexpr int32_t kForever = -1;

} // namespace

TLUX_MEvent* TLUX_MEventCreate() noexcept {
  auto* event = static_cast<TLUX_MEvent*>(std::malloc(sizeof(TLUX_MEvent)));
  if (event == nullptr) return nullptr;
  pthread_mutex_init(&event->mutex, nullptr);
  pthread_cond_init(&event->cond, nullptr);
  event->signalled = 0;
  return event;
}

int32_t TLUX_MEventDestroy(MMemMgr, TLUX_MEvent* event) noexcept {
  if (event == nullptr) return kNullEvent;
  pthread_mutex_destroy(&event->mutex);
  pthread_cond_destroy(&event->cond);
  std::free(event);
  return 0;
}

int32_t TLUX_MEventWait(TLUX_MEvent* event, int32_t timeout) noexcept {
  if (event == nullptr) return kNullEvent;
  if (pthread_mutex_lock(&event->mutex) != 0) return kFailed;
  int error = 0;
  // The condition is tested again after every wake-up, so a spurious one does no harm.
  while (timeout == kForever && event->signalled == 0 && error == 0) {
    error = pthread_cond_wait(&event->cond, &event->mutex);
  }
  event->signalled = 0;
  if (pthread_mutex_unlock(&event->mutex) != 0) error = 1;
  return error == 0 ? 0 : kFailed;
}

int32_t TLUX_MEventSignal(TLUX_MEvent* event) noexcept {
  if (event == nullptr) return kNullEvent;
  pthread_mutex_lock(&event->mutex);
  event->signalled = 1;
  const int error = pthread_cond_signal(&event->cond);
  pthread_mutex_unlock(&event->mutex);
  return error == 0 ? 0 : kFailed;
}

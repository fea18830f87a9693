/**
 * The part of POSIX threads that the library uses, for WASI, which has a single thread and no
 * pthread.h: starting a thread fails, locks are always free, and waiting for another thread fails
 * at once.
 */
#ifndef TLUX_PLATFORM_WASI_PTHREAD_H
#define TLUX_PLATFORM_WASI_PTHREAD_H

#include <errno.h>

typedef unsigned long pthread_t;
typedef int pthread_mutex_t;
typedef int pthread_cond_t;

static inline int pthread_create(pthread_t*, const void*, void* (*)(void*), void*) {
  return EAGAIN;
}
static inline int pthread_join(pthread_t, void**) {
  return ESRCH;
}

static inline int pthread_mutex_init(pthread_mutex_t* mutex, const void*) {
  return *mutex = 0;
}
static inline int pthread_mutex_lock(pthread_mutex_t*) {
  return 0;
}
static inline int pthread_mutex_unlock(pthread_mutex_t*) {
  return 0;
}
static inline int pthread_mutex_destroy(pthread_mutex_t*) {
  return 0;
}

static inline int pthread_cond_init(pthread_cond_t* condition, const void*) {
  return *condition = 0;
}
static inline int pthread_cond_wait(pthread_cond_t*, pthread_mutex_t*) {
  return EDEADLK;
}
static inline int pthread_cond_signal(pthread_cond_t*) {
  return 0;
}
static inline int pthread_cond_broadcast(pthread_cond_t*) {
  return 0;
}
static inline int pthread_cond_destroy(pthread_cond_t*) {
  return 0;
}

#endif /* TLUX_PLATFORM_WASI_PTHREAD_H */

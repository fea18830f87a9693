#include "base/interruption.hpp"

#include <pthread.h>

#include <chrono>
#include <csignal>

namespace tlux::app {

namespace {

constexpr int kSignal = SIGUSR1;
thread_local volatile std::sig_atomic_t isInterrupted = 0;

/** Without SA_RESTART, so that a read under way returns with EINTR. */
void handleSignal() {
  struct sigaction action = {};
  action.sa_handler = [](int) { isInterrupted = 1; };
  sigaction(kSignal, &action, nullptr);
}

} // namespace

void interruptReads(std::thread::native_handle_type thread, const std::atomic<bool>& isDone) {
  handleSignal();
  // A signal right before a read is missed by it.
  constexpr std::chrono::milliseconds kPatience(10);
  while (!isDone) {
    pthread_kill(thread, kSignal);
    std::this_thread::sleep_for(kPatience);
  }
}

bool isReadInterrupted() {
  return isInterrupted != 0;
}

} // namespace tlux::app

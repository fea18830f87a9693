#pragma once

#include <atomic>
#include <thread>

namespace tlux::app {

/**
 * Interrupts a thread that waits for input that may never come, repeatedly until @p isDone is set
 * by the thread. From then on its reads fail.
 */
void interruptReads(std::thread::native_handle_type thread, const std::atomic<bool>& isDone);

/** Whether the calling thread should give up reading. */
bool isReadInterrupted();

} // namespace tlux::app

#pragma once

#include <atomic>
#include <thread>

namespace tlux::app {

/**
 * Ends the wait of a thread for input that may never come, again and again until @p isDone says
 * that the thread has noticed: its reads fail from now on.
 */
void interruptReads(std::thread::native_handle_type thread, const std::atomic<bool>& isDone);

/** Whether the calling thread should give up reading. */
bool isReadInterrupted();

} // namespace tlux::app

#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace tlux::app {

/** Passes items between two threads and blocks the faster one when full. */
template <typename T>
class BoundedQueue {
 public:
  explicit BoundedQueue(size_t capacity) : capacity_(capacity) {}

  /** Waits for room. False after stop(), when no one reads any more. */
  bool push(T item) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return stopped_ || items_.size() < capacity_; });
    if (stopped_) return false;
    items_.push_back(std::move(item));
    changed_.notify_all();
    return true;
  }

  /** Waits for an item. Nothing once the queue is empty after end(), or after stop(). */
  std::optional<T> pop() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return stopped_ || ended_ || !items_.empty(); });
    if (stopped_ || items_.empty()) return std::nullopt;
    std::optional<T> item(std::move(items_.front()));
    items_.pop_front();
    changed_.notify_all();
    return item;
  }

  /** No more items will be pushed. */
  void end() {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    changed_.notify_all();
  }

  /** Drops everything; both sides should give up. */
  void stop() {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    items_.clear();
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<T> items_;
  size_t capacity_;
  bool ended_ = false;
  bool stopped_ = false;
};

} // namespace tlux::app

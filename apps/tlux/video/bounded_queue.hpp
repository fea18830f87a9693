#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace tlux::app {

/** Hands items from one thread to the next and keeps the two from drifting far apart. */
template <typename T>
class BoundedQueue {
 public:
  explicit BoundedQueue(size_t capacity) : capacity_(capacity) {}

  /** Waits for room. False after stop(): there is nobody left to hand on to. */
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

  /** Drops everything; both sides are to give up. */
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

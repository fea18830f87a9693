#include "stream/crew.hpp"
#include "base/result.hpp"

#include <algorithm>
#include <atomic>
#include <utility>

#include "stream/options.hpp"

namespace tlux::detail {

CallersTeam::CallersTeam(const TLUX_STREAM_OPTIONS& options)
    : Team([](Team& team, std::int64_t count, Call call,
              void* work) { static_cast<CallersTeam&>(team).perform(count, call, work); },
           static_cast<int>(options.workers)),
      parallelFor_(options.parallelFor),
      context_(options.parallelContext) {}

bool CallersTeam::takeFailure() {
  return std::exchange(hasFailed_, false);
}

void CallersTeam::perform(std::int64_t count, Call call, void* work) {
  struct Job {
    Call call;
    void* work;
    std::int64_t count;
    std::atomic<std::int64_t> next{0};

    void takePart(int slot) {
      while (true) {
        const std::int64_t item = next.fetch_add(1, std::memory_order_relaxed);
        if (item >= count) return;
        call(work, item, slot);
      }
    }
  } job{call, work, count};
  const auto part = [](void* shared, std::uint32_t index) {
    static_cast<Job*>(shared)->takePart(static_cast<int>(index));
  };
  const auto parts = static_cast<std::uint32_t>(std::min<std::int64_t>(size(), count));
  if (parallelFor_(context_, part, &job, parts) != TLUX_OK) hasFailed_ = true;
  job.takePart(0);
}

Crew::Crew(const TLUX_STREAM_OPTIONS& options) : size_(static_cast<int>(workersOf(options))) {
  if (options.parallelFor != nullptr) callers_.emplace(options);
}

Result Crew::start() {
  if (callers_ || size_ == 1) return Result::kOk;
  if (!threads_) threads_.emplace(size_);
  if (threads_->isComplete()) return Result::kOk;
  threads_.reset();
  return Result::kNoThread;
}

Team* Crew::team() {
  if (callers_) return &*callers_;
  return threads_ ? &*threads_ : nullptr;
}

} // namespace tlux::detail

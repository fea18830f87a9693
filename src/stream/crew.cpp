#include "stream/crew.hpp"

#include <algorithm>

#include "stream/options.hpp"

namespace tlux {
namespace {

constexpr std::uint32_t kTeam = WorkerTeam::kSize;

} // namespace

Crew::Crew(const TLUX_STREAM_OPTIONS& options)
    : parallelFor_(options.parallelFor), context_(options.parallelContext) {
  const std::uint32_t workers = workersOf(options);
  size_ = static_cast<int>(parallelFor_ != nullptr || workers == 1 ? workers : kTeam);
}

bool Crew::start() {
  if (parallelFor_ != nullptr || size_ == 1) return true;
  if (!threads_) threads_.emplace();
  if (threads_->isComplete()) return true;
  threads_.reset();
  return false;
}

bool Crew::perform(const Job& job) {
  if (parallelFor_ != nullptr && size_ > 1 && job.count > 1) return performByCaller(job);
  auto work = [&job](std::int64_t item, int slot) { job.call(job.work, item, slot); };
  if (threads_ && job.count > 1) {
    threads_->share(job.count, work);
    return true;
  }
  for (std::int64_t item = 0; item < job.count; ++item) {
    work(item, 0);
  }
  return true;
}

// Parts claim items one by one: whichever run, in whatever order, all is done when they return.
bool Crew::performByCaller(const Job& job) {
  struct Parts {
    const Job& job;
    std::atomic<std::int64_t> next{0};

    void takePart(int slot) {
      while (true) {
        const std::int64_t item = next.fetch_add(1, std::memory_order_relaxed);
        if (item >= job.count) return;
        job.call(job.work, item, slot);
      }
    }
  } parts{job};
  const auto part = [](void* work, std::uint32_t index) {
    static_cast<Parts*>(work)->takePart(static_cast<int>(index));
  };
  const auto count = static_cast<std::uint32_t>(std::min<std::int64_t>(size_, job.count));
  const bool isComplete = parallelFor_(context_, part, &parts, count) == TLUX_OK;
  parts.takePart(0);
  return isComplete;
}

} // namespace tlux

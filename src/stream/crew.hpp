#pragma once

#include <optional>

#include "base/result.hpp"
#include "platform/team.hpp"
#include "platform/worker_team.hpp"
#include "tlux/stream.h"

namespace tlux::detail {

// The caller's parallel for as a team. Parts claim items one by one: no matter which parts run, and
// in what order, all items are done when they have returned.
class CallersTeam : public Team {
 public:
  explicit CallersTeam(const TLUX_STREAM_OPTIONS& options);

  // Whether the parallel for failed since the last call. The items it left were done all the same.
  bool takeFailure();

 private:
  void perform(std::int64_t count, Call call, void* work);

  TLUX_PARALLEL_FOR parallelFor_;
  void* context_;
  bool hasFailed_ = false;
};

// Who works on the frames of a stream: the calling thread alone, the caller's parallel for, or
// threads owned by the stream.
class Crew {
 public:
  explicit Crew(const TLUX_STREAM_OPTIONS& options);

  int size() const { return size_; }

  // Starts the stream's own threads if needed.
  Result start();

  // Null: the calling thread alone.
  Team* team();
  // Whether the caller's parallel for failed since the last call.
  bool takeFailure() { return callers_ && callers_->takeFailure(); }

 private:
  int size_;
  std::optional<CallersTeam> callers_;
  std::optional<WorkerTeam> threads_;
};

} // namespace tlux::detail

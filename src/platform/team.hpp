#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "base/bands.hpp"

namespace tlux::detail {

// Shares work among threads: the library's own or its caller's.
class Team {
 public:
  Team(const Team&) = delete;
  Team& operator=(const Team&) = delete;

  // The largest number of calls that run at the same time.
  int size() const { return size_; }

  // Calls work(item, slot) for the items 0 to count − 1 and waits for all of them. Calls that run
  // at the same time have different slots, 0 to size() − 1.
  template <class Work>
  void share(std::int64_t count, Work&& work) {
    using Callable = std::remove_reference_t<Work>;
    const auto call = [](void* callable, std::int64_t item, int slot) {
      (*static_cast<Callable*>(callable))(item, slot);
    };
    perform_(*this, count, call, &work);
  }

 protected:
  using Call = void (*)(void* work, std::int64_t item, int slot);
  // A plain pointer, since virtual functions would need the C++ runtime.
  using Perform = void (*)(Team& team, std::int64_t count, Call call, void* work);

  Team(Perform perform, int size) : perform_(perform), size_(size) {}
  ~Team() = default;

 private:
  Perform perform_;
  int size_;
};

// From this many pixels a team shares the steps of a frame. The fuzzers set a smaller number.
#ifndef TLUX_SHARED_PIXELS
#define TLUX_SHARED_PIXELS 8192
#endif
inline constexpr std::int64_t kSharedPixels = TLUX_SHARED_PIXELS;

// The team if the frame is large enough to share its steps, otherwise null: for a small frame,
// handing over the work takes longer than doing it.
inline Team* teamFor(Team& team, std::int64_t pixels) {
  return pixels >= kSharedPixels ? &team : nullptr;
}

// Calls work(item, slot) for the items 0 to count − 1, shared by a team or, null, by the caller.
template <class Work>
void shareItems(Team* team, std::int64_t count, Work&& work) {
  if (team != nullptr && count > 1) {
    team->share(count, work);
    return;
  }
  for (std::int64_t item = 0; item < count; ++item) {
    work(item, 0);
  }
}

// Calls work(rows, slot) for all rows of a plane in parts of `partRows`, shared by the team.
// Without a team, the caller does all rows in one call.
template <class Work>
void shareRows(Team* team, std::int32_t height, std::int32_t partRows, Work&& work) {
  if (team == nullptr) {
    work(Band{0, height}, 0);
    return;
  }
  team->share((std::int64_t{height} + partRows - 1) / partRows, [&](std::int64_t i, int slot) {
    const auto first = static_cast<std::int32_t>(i * partRows);
    work(Band{first, first + std::min(partRows, height - first)}, slot);
  });
}

} // namespace tlux::detail

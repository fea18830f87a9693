#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "base/bands.hpp"

namespace tlux::detail {

// Whoever shares work: threads of the library's own, or of its caller's.
class Team {
 public:
  Team(const Team&) = delete;
  Team& operator=(const Team&) = delete;

  // How many calls run at the same time at most.
  int size() const { return size_; }

  // Calls work(item, slot) for the items 0 to count − 1 and waits for all. Of the calls that run at
  // the same time no two have the same slot, 0 to size() − 1.
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
  // A plain pointer, since tables of virtual functions ask for the C++ runtime.
  using Perform = void (*)(Team& team, std::int64_t count, Call call, void* work);

  Team(Perform perform, int size) : perform_(perform), size_(size) {}
  ~Team() = default;

 private:
  Perform perform_;
  int size_;
};

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

// Calls work(rows, slot) for all rows of a plane in parts of `partRows`, shared by the team. Null:
// the caller does them at once.
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

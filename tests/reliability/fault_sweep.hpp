#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "reliability/entry_points.hpp"

namespace tlux::test {

// A call and the memory that it writes.
struct SweptCall {
  std::span<std::uint8_t> memory;
  std::function<std::uint32_t(MMemMgr manager)> call;
  Failure failure = Failure::kReported;
  bool mayDoWithout = false;
};

// Repeats a call with one resource missing each time. The call must succeed completely or fail as
// its interface documents, and leave no block and no thread behind.
class FaultSweeper {
 public:
  explicit FaultSweeper(SweptCall swept);

  // The number of faults or pools tried.
  int everyFailedAllocation();
  int everyFailedThreadStart();
  int everyPoolThatIsTooSmall();

 private:
  std::uint32_t call(MMemMgr manager);
  bool isWhole(std::uint32_t result, std::uint32_t code) const;
  int sweep(void (*failNth)(int), std::uint32_t code);
  bool fitsIn(std::size_t bytes);

  SweptCall swept_;
  std::vector<std::uint8_t> before_;
  std::vector<std::uint8_t> whole_;
};

} // namespace tlux::test

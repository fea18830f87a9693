// The fast guided filter (windows of 2r × 2r, edges repeated): sums over 32 columns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/multiversion.hpp"

namespace tlux::detail {

// Sums of 32 numbers in a row, for four starting columns at a time. Sums of 2, 4, 8, 16 and 32 are
// built from each other in registers: the sums 4, 8 and 16 columns further on are the same vectors
// one, two and four steps later.
class SumsOf32 {
 public:
  static constexpr std::ptrdiff_t kSpan = 32;
  static constexpr std::ptrdiff_t kFewest = 16; // sums of a row

  // sums[x] = in[x] + … + in[x + 31] for x from 0 to count − 1; count is at least kFewest. Also
  // reads the next two numbers, which have no effect.
  TLUX_INLINED static void make(const std::uint32_t* in, std::ptrdiff_t count,
                                std::uint32_t* sums) {
    const std::ptrdiff_t whole = count / kFewest * kFewest;
    SumsOf32(in).makeGroups(whole, sums);
    const std::ptrdiff_t last = count - kFewest;
    if (whole < count) SumsOf32(in + last).makeGroups(kFewest, sums + last);
  }

 private:
  using Four [[gnu::vector_size(16)]] = std::uint32_t;

  TLUX_INLINED static Four load(const std::uint32_t* from) {
    Four four;
    std::memcpy(&four, from, sizeof four);
    return four;
  }
  TLUX_INLINED static Four pairsAt(const std::uint32_t* from) {
    return load(from) + load(from + 1);
  }

  TLUX_INLINED explicit SumsOf32(const std::uint32_t* in) : in_(in), two_(pairsAt(in)) {
    step<1>();
    step<2>();
    step<3>();
    step<0>();
    step<1>();
    step<2>();
    step<3>();
  }

  TLUX_INLINED void makeGroups(std::ptrdiff_t count, std::uint32_t* sums) {
    for (std::ptrdiff_t x = 0; x < count; x += kFewest) {
      makeFour<0>(sums + x);
      makeFour<1>(sums + x + 4);
      makeFour<2>(sums + x + 8);
      makeFour<3>(sums + x + 12);
    }
  }

  template <std::size_t kTurn>
  TLUX_INLINED void makeFour(std::uint32_t* sums) {
    const Four thirtyTwo = step<kTurn>();
    std::memcpy(sums, &thirtyTwo, sizeof thirtyTwo);
  }

  // Adds four numbers; returns the sums of seven steps before.
  template <std::size_t kTurn>
  TLUX_INLINED Four step() {
    in_ += 4;
    const Four laterTwo = pairsAt(in_);
    const Four four = two_ + __builtin_shufflevector(two_, laterTwo, 2, 3, 4, 5);
    two_ = laterTwo;
    const Four eight = four_ + four;
    four_ = four;
    const Four sixteen = eight_[kTurn % 2] + eight;
    eight_[kTurn % 2] = eight;
    const Four thirtyTwo = sixteen_[kTurn] + sixteen;
    sixteen_[kTurn] = sixteen;
    return thirtyTwo;
  }

  const std::uint32_t* in_;
  Four two_;
  Four four_ = {};
  Four eight_[2] = {}; // the earlier step's first
  Four sixteen_[4] = {};
};

} // namespace tlux::detail

#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

// Running sums of a row, which give the sum over any stretch as one difference. They are a chain of
// additions that compilers leave scalar; here each step sums the lanes within one vector, and only
// the total is carried to the next step.
namespace tlux::detail {
namespace prefix {

template <class T>
struct Vector {
  typedef T Type __attribute__((vector_size(16)));
};
using Lanes16 = Vector<std::uint16_t>::Type;
using Lanes32 = Vector<std::uint32_t>::Type;
using LanesDouble = Vector<double>::Type;

inline Lanes16 runningSum(Lanes16 v) {
  constexpr Lanes16 kZero{};
  v += __builtin_shufflevector(kZero, v, 7, 8, 9, 10, 11, 12, 13, 14);
  v += __builtin_shufflevector(kZero, v, 6, 7, 8, 9, 10, 11, 12, 13);
  return v + __builtin_shufflevector(kZero, v, 4, 5, 6, 7, 8, 9, 10, 11);
}

inline Lanes32 runningSum(Lanes32 v) {
  constexpr Lanes32 kZero{};
  v += __builtin_shufflevector(kZero, v, 3, 4, 5, 6);
  return v + __builtin_shufflevector(kZero, v, 2, 3, 4, 5);
}

inline LanesDouble runningSum(LanesDouble v) {
  constexpr LanesDouble kZero{};
  return v + __builtin_shufflevector(kZero, v, 1, 2);
}

inline Lanes16 lastLane(Lanes16 v) {
  return __builtin_shufflevector(v, v, 7, 7, 7, 7, 7, 7, 7, 7);
}

inline Lanes32 lastLane(Lanes32 v) {
  return __builtin_shufflevector(v, v, 3, 3, 3, 3);
}

inline LanesDouble lastLane(LanesDouble v) {
  return __builtin_shufflevector(v, v, 1, 1);
}

template <class To, class From>
To load(const From* from) {
  To v;
  std::memcpy(&v, from, sizeof v);
  return v;
}

} // namespace prefix

// sums[x] = start + values[0] + … + values[x]; returns the last one, or start for an empty row.
// Integers wrap. Doubles that hold integers stay exact up to 2⁵³, in any order of addition.
template <class T>
T prefixSums(const T* __restrict values, std::int32_t count, T start, T* __restrict sums) {
  using Lanes = typename prefix::Vector<T>::Type;
  constexpr std::int32_t kLanes = sizeof(Lanes) / sizeof(T);
  constexpr int kVectors = 2; // per step, so that few additions depend on one another
  Lanes before = Lanes{} + start;
  std::int32_t x = 0;
  for (; x <= count - kVectors * kLanes; x += kVectors * kLanes) {
    Lanes step{};
    for (int i = 0; i < kVectors; ++i) {
      step = prefix::runningSum(prefix::load<Lanes>(values + x + i * kLanes)) +
             (i == 0 ? step : prefix::lastLane(step));
      const Lanes result = step + before;
      std::memcpy(sums + x + i * kLanes, &result, sizeof result);
    }
    before += prefix::lastLane(step);
  }
  T sum = before[0];
  for (; x < count; ++x) {
    sums[x] = sum = static_cast<T>(sum + values[x]);
  }
  return sum;
}

// The same with 16-bit values, read as Signed or unsigned, and 32-bit sums.
template <bool Signed>
std::uint32_t widePrefixSums(const std::uint16_t* __restrict values, std::int32_t count,
                             std::uint32_t start, std::uint32_t* __restrict sums) {
  using prefix::Lanes16;
  using prefix::Lanes32;
  using Value = std::conditional_t<Signed, std::int16_t, std::uint16_t>;
  using Wide =
      typename prefix::Vector<std::conditional_t<Signed, std::int32_t, std::uint32_t>>::Type;
  // Each value moves to the upper half of a 32-bit lane; the shift down fills with zeros or the
  // sign.
  const auto widen = [](Lanes16 interleaved) {
    return reinterpret_cast<Lanes32>(reinterpret_cast<Wide>(interleaved) >> 16);
  };
  constexpr Lanes16 kZero{};
  Lanes32 before = Lanes32{} + start;
  std::int32_t x = 0;
  for (; x <= count - 8; x += 8) {
    const auto v = prefix::load<Lanes16>(values + x);
    const Lanes16 low = __builtin_shufflevector(kZero, v, 0, 8, 1, 9, 2, 10, 3, 11);
    const Lanes16 high = __builtin_shufflevector(kZero, v, 4, 12, 5, 13, 6, 14, 7, 15);
    const Lanes32 first = prefix::runningSum(widen(low));
    const Lanes32 second = prefix::runningSum(widen(high)) + prefix::lastLane(first);
    const Lanes32 results[2] = {first + before, second + before};
    std::memcpy(sums + x, results, sizeof results);
    before += prefix::lastLane(second);
  }
  std::uint32_t sum = before[0];
  for (; x < count; ++x) {
    sums[x] = sum += static_cast<std::uint32_t>(static_cast<Value>(values[x]));
  }
  return sum;
}

} // namespace tlux::detail

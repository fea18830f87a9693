#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// The vocabulary of the most time-critical kernels: vectors of bytes and of 16-bit numbers, with
// the arithmetic of the compiler's own vector types (+ - * << >> & and comparisons, which give
// masks), plus the few operations those lack, one header per instruction set. A file written in it
// is compiled once for each; see tlux_add_kernels() in cmake/TluxTargets.cmake, and
// platform/simd_level.hpp, which picks one at run time.
//
// Everything here is in an anonymous namespace, because the same function compiled for different
// processors must not be merged by the linker.
//
// Columns do not stay in order: widen() and narrow() split and join within 128 bits, as most
// instruction sets do. Anything combined with widened bytes must come from spread() or twice(),
// which use the same order.
#if defined(TLUX_PLAIN_LANES)
#include "base/lanes_plain.hpp"
#elif defined(__AVX512BW__)
#include "base/lanes_avx512.hpp"
#elif defined(__AVX2__)
#include "base/lanes_avx2.hpp"
#elif defined(__SSE2__)
#include "base/lanes_sse2.hpp"
#elif defined(__ARM_NEON) && defined(__aarch64__)
#include "base/lanes_neon.hpp"
#else
#include "base/lanes_plain.hpp"
#endif

namespace tlux::detail {
namespace {

// Columns that the largest vector of any instruction set holds.
inline constexpr std::ptrdiff_t kMostColumns = 64;
static_assert(kMostColumns % kColumns == 0);

template <class Vector, class T>
[[gnu::always_inline]] inline Vector load(const T* from) {
  Vector vector;
  std::memcpy(&vector, from, sizeof vector);
  return vector;
}

template <class Vector, class T>
[[gnu::always_inline]] inline void store(T* to, const Vector& vector) {
  std::memcpy(to, &vector, sizeof vector);
}

[[gnu::always_inline]] inline Bytes loadBytes(const std::uint8_t* from) {
  return load<Bytes>(from);
}

[[gnu::always_inline]] inline Shorts loadShorts(const std::int16_t* from) {
  return load<Shorts>(from);
}

// Operations for which NEON has its own instructions.
#if !defined(TLUX_NEON_LANES)

// a · (v − 128) / 2^10, rounded down, in the order of widen().
[[gnu::always_inline]] inline Halves multiplyCentredQ10(const Halves& a, Bytes v) {
  const Halves wide = widen(v);
  return {multiplyHigh(a.low, (wide.low - 128) << 6), multiplyHigh(a.high, (wide.high - 128) << 6)};
}

// |v − 128|
[[gnu::always_inline]] inline Halves distancesFromCentre(Bytes v) {
  const Halves wide = widen(v);
  return {magnitude(wide.low - 128), magnitude(wide.high - 128)};
}

// v + b / 2^kShift, rounded down and clamped to 0 … 255, where v · 2^kShift + b fits 16 bits.
template <int kShift>
[[gnu::always_inline]] inline Bytes addShifted(Bytes v, const Halves& b) {
  const Halves wide = widen(v);
  return narrow({wide.low + (b.low >> kShift), wide.high + (b.high >> kShift)});
}

[[gnu::always_inline]] inline BytePairs loadPairs(const std::uint8_t* from) {
  return {load<Bytes>(from), load<Bytes>(from + kColumns)};
}

[[gnu::always_inline]] inline void storePairs(std::uint8_t* to, const BytePairs& pairs) {
  store(to, pairs.first);
  store(to + kColumns, pairs.second);
}

// Numbers that belong to pairs, the first kColumns / 2 in `early` and the rest in `late`, in the
// order of loadPairs().
[[gnu::always_inline]] inline PairHalves forPairs(Shorts early, Shorts late) {
  return {twice(early), twice(late)};
}

#endif

// A vector of one number.
[[gnu::always_inline]] inline Shorts all(std::int16_t value) {
  return Shorts{} + value;
}

// Eight numbers, one for each column of a cell.
struct EightShorts {
  std::int16_t values[8];
};

[[gnu::always_inline]] inline Shorts repeated(const EightShorts& eight) {
  Shorts vector;
  for (std::size_t i = 0; i < sizeof vector / sizeof eight; ++i) {
    std::memcpy(reinterpret_cast<std::byte*>(&vector) + i * sizeof eight, &eight, sizeof eight);
  }
  return vector;
}

} // namespace
} // namespace tlux::detail

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// Vectors of kColumns bytes; the including header defines kColumns.
namespace tlux::detail {
namespace {

using Bytes [[gnu::vector_size(kColumns)]] = std::uint8_t;
using Shorts [[gnu::vector_size(kColumns)]] = std::int16_t;
using UnsignedShorts [[gnu::vector_size(kColumns)]] = std::uint16_t;

using Ints [[gnu::vector_size(kColumns)]] = std::int32_t;
using Floats [[gnu::vector_size(kColumns)]] = float;

// A vector of bytes widened: columns 0 to 7 of each 16 in one half, 8 to 15 in the other.
struct Halves {
  Shorts low;
  Shorts high;
};

// kColumns pairs of interleaved bytes in two vectors, and the 16-bit numbers of both. Only
// loadPairs(), storePairs() and forPairs() know the order of the pairs.
struct BytePairs {
  Bytes first;
  Bytes second;
};

struct PairHalves {
  Halves first;
  Halves second;
};

// 32-bit numbers for the columns of a vector of 16-bit numbers, and for both halves.
struct Wide {
  Ints low;
  Ints high;

  friend Wide operator+(const Wide& a, const Wide& b) { return {a.low + b.low, a.high + b.high}; }
  friend Wide operator-(const Wide& a, const Wide& b) { return {a.low - b.low, a.high - b.high}; }
  friend Wide operator<<(const Wide& a, int count) { return {a.low << count, a.high << count}; }
  friend Wide operator&(const Wide& a, int bits) { return {a.low & bits, a.high & bits}; }
};

struct WideHalves {
  Wide low;
  Wide high;

  friend WideHalves operator+(const WideHalves& a, const WideHalves& b) {
    return {a.low + b.low, a.high + b.high};
  }
  friend WideHalves operator-(const WideHalves& a, const WideHalves& b) {
    return {a.low - b.low, a.high - b.high};
  }
};

// The same bits as another type.
template <class To, class From>
[[gnu::always_inline]] inline To as(const From& from) {
  return __builtin_bit_cast(To, from);
}

// Truncated quotients of floats.
[[gnu::always_inline]] inline Ints quotientsOf(Ints dividends, Ints divisors) {
  return __builtin_convertvector(
      __builtin_convertvector(dividends, Floats) / __builtin_convertvector(divisors, Floats), Ints);
}

// Right shift that brings in zeros.
[[gnu::always_inline]] inline Shorts shiftRightUnsigned(Shorts v, int count) {
  return as<Shorts>(as<UnsignedShorts>(v) >> static_cast<std::uint16_t>(count));
}

} // namespace
} // namespace tlux::detail

#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <span>
#include <vector>

#include "support/widths.hpp"
#include "tlux/platform.h"

namespace tlux::fuzz {

struct Extent {
  int width;
  int height;
};

// A wrong result is a crash like any other.
inline void require(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: the result is not as it should be\n", file, line);
  std::abort();
}

// Shapes and contents taken from the bytes of one fuzz input; zeros when they have run out.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : bytes_(data, size) {}

  int between(int low, int high) { return bytes_.ConsumeIntegralInRange(low, high); }
  std::uint32_t word() { return bytes_.ConsumeIntegral<std::uint32_t>(); }
  bool flag() { return bytes_.ConsumeBool(); }
  bool isEmpty() { return bytes_.remaining_bytes() == 0; }

  template <class T, std::size_t N>
  T oneOf(const T (&choices)[N]) {
    return choices[static_cast<std::size_t>(between(0, static_cast<int>(N) - 1))];
  }

  // Small; every eighth is low, and as wide as a few pieces of a kernel.
  Extent extent(int mostWidth, int mostHeight, int mostRowsOfWide = 4) {
    static const std::vector<int> kWide = test::widthsAround({128, 256, 512, 1024});
    const bool isWide = between(0, 7) == 7;
    const int width =
        isWide ? kWide[static_cast<std::size_t>(between(0, static_cast<int>(kWide.size()) - 1))]
               : between(1, mostWidth);
    return {width, between(1, isWide ? mostRowsOfWide : mostHeight)};
  }

  // Mostly small, sometimes any value at all.
  int radius(int usual) {
    return between(0, 15) == 0 ? static_cast<int>(word()) : between(-1, usual);
  }

  // One value, two values, any values, or the bytes of the input themselves.
  template <class T>
  void fill(std::span<T> samples) {
    enum Content { kUniform, kTwoValues, kNoise, kNarrowNoise, kInput, kContents };
    const int content = between(0, kContents - 1);
    std::minstd_rand noise(word());
    const T a = bytes_.ConsumeIntegral<T>();
    const T b = bytes_.ConsumeIntegral<T>();
    for (T& sample : samples) {
      const auto random = noise() >> 3;
      switch (content) {
        case kUniform:
          sample = a;
          break;
        case kTwoValues:
          sample = random % 2 == 0 ? a : b;
          break;
        case kNoise:
          sample = static_cast<T>(random * 0x9E3779B1U);
          break;
        case kNarrowNoise:
          sample = static_cast<T>(a ^ static_cast<T>(random % 8));
          break;
        default:
          sample = bytes_.ConsumeIntegral<T>();
      }
    }
  }

  std::vector<std::uint8_t> samples(std::size_t count) {
    std::vector<std::uint8_t> values(count);
    fill(std::span(values));
    return values;
  }

 private:
  FuzzedDataProvider bytes_;
};

// What a fuzzer does with one input; each defines it.
void check(Input& input);

// The heap, or a pool of any size that everything must be given back to.
class Memory {
 public:
  Memory(Input& input, int largest) {
    if (input.flag()) return;
    const auto bytes = static_cast<std::size_t>(input.between(0, largest));
    block_.resize(bytes / 8 + 1, ~std::uint64_t{0});
    manager_ = MMemMgrCreate(block_.data(), bytes);
    free_ = GetMaxAllocMemSize(manager_);
  }
  Memory(const Memory&) = delete;
  Memory& operator=(const Memory&) = delete;
  ~Memory() { require(GetMaxAllocMemSize(manager_) == free_); }

  MMemMgr manager() const { return manager_; }
  // Whether a call may report that there is no memory.
  bool isLimited() const { return manager_ != nullptr; }

 private:
  std::vector<std::uint64_t> block_;
  MMemMgr manager_ = nullptr;
  std::int64_t free_ = GetMaxAllocMemSize(nullptr);
};

} // namespace tlux::fuzz

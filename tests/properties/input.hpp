#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/widths.hpp"
#include "tlux/platform.h"

namespace tlux::properties {

struct Extent {
  int width;
  int height;
};

// A wrong result. Uncaught, it is a crash for a fuzzer.
inline void require(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (!holds) throw std::logic_error(std::string(file).append(":").append(std::to_string(line)));
}

// Takes shapes and contents from random bytes or a fuzzer's; returns the lowest values when they
// run out.
class Input {
 public:
  explicit Input(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  int between(int low, int high) { return static_cast<int>(low + take(std::int64_t{high} - low)); }
  std::uint32_t word() { return any<std::uint32_t>(); }
  bool flag() { return any<std::uint8_t>() % 2 != 0; }
  bool isEmpty() { return bytes_.empty(); }

  template <class T, std::size_t N>
  T oneOf(const T (&choices)[N]) {
    return choices[static_cast<std::size_t>(between(0, static_cast<int>(N) - 1))];
  }

  // Small; one in eight is low and as wide as a few pieces of a kernel.
  Extent extent(int mostWidth, int mostHeight, int mostRowsOfWide = 4) {
    static const std::vector<int> kWide = test::widthsAround({128, 256, 512, 1024});
    const bool isWide = between(0, 7) == 7;
    const int width =
        isWide ? kWide[static_cast<std::size_t>(between(0, static_cast<int>(kWide.size()) - 1))]
               : between(1, mostWidth);
    return {width, between(1, isWide ? mostRowsOfWide : mostHeight)};
  }

  // Mostly small, sometimes any value.
  int radius(int usual) {
    return between(0, 15) == 0 ? static_cast<int>(word()) : between(-1, usual);
  }

  // One value, two values, any values, or the bytes of the input themselves.
  template <class T>
  void fill(std::span<T> samples) {
    enum Content { kUniform, kTwoValues, kNoise, kNarrowNoise, kInput, kContents };
    const int content = between(0, kContents - 1);
    std::minstd_rand noise(word());
    const T a = any<T>();
    const T b = any<T>();
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
          sample = any<T>();
      }
    }
  }

  std::vector<std::uint8_t> samples(std::size_t count) {
    std::vector<std::uint8_t> values(count);
    fill(std::span(values));
    return values;
  }

 private:
  template <class T>
  T any() {
    return static_cast<T>(
        std::numeric_limits<T>::min() +
        take(std::int64_t{std::numeric_limits<T>::max()} - std::numeric_limits<T>::min()));
  }

  // From 0 to the largest, of as many bytes from the end as that needs.
  std::int64_t take(std::int64_t largest) {
    std::uint64_t value = 0;
    for (std::int64_t rest = largest; rest > 0 && !bytes_.empty(); rest >>= 8) {
      value = value << 8 | bytes_.back();
      bytes_ = bytes_.first(bytes_.size() - 1);
    }
    return static_cast<std::int64_t>(value % (static_cast<std::uint64_t>(largest) + 1));
  }

  std::span<const std::uint8_t> bytes_;
};

// The heap, or a pool of any size that must be empty again at the end.
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
  // Whether a call may run out of memory.
  bool isLimited() const { return manager_ != nullptr; }

 private:
  std::vector<std::uint64_t> block_;
  MMemMgr manager_ = nullptr;
  std::int64_t free_ = GetMaxAllocMemSize(nullptr);
};

} // namespace tlux::properties

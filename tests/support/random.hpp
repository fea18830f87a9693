#pragma once

#include <cstdint>
#include <limits>
#include <random>
#include <span>
#include <vector>

namespace tlux::test {

// A seeded generator with the same sequence on every platform (the distributions of <random>
// differ).
class Random {
 public:
  explicit Random(std::uint32_t seed) : engine_(seed) {}

  std::uint32_t bits() { return static_cast<std::uint32_t>(engine_()); }

  // Uniform in [low, high].
  std::int64_t between(std::int64_t low, std::int64_t high) {
    const auto range = static_cast<std::uint64_t>(high - low) + 1;
    const std::uint64_t value = (std::uint64_t{bits()} << 32) | bits();
    return low + static_cast<std::int64_t>(value % range);
  }

  int intBetween(int low, int high) { return static_cast<int>(between(low, high)); }

  template <class T>
  void fill(std::span<T> values, std::int64_t low = std::numeric_limits<T>::min(),
            std::int64_t high = std::numeric_limits<T>::max()) {
    if constexpr (sizeof(T) == 1) {
      if (high - low == 255)
        return noise({reinterpret_cast<std::uint8_t*>(values.data()), values.size()});
    }
    for (T& value : values) {
      value = static_cast<T>(between(low, high));
    }
  }

  // Random bytes, several from each draw.
  void noise(std::span<std::uint8_t> bytes) {
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i, word >>= 8) {
      if (i % 4 == 0) word = bits();
      bytes[i] = static_cast<std::uint8_t>(word);
    }
  }

  template <class T>
  std::vector<T> values(std::size_t count, std::int64_t low = std::numeric_limits<T>::min(),
                        std::int64_t high = std::numeric_limits<T>::max()) {
    std::vector<T> out(count);
    fill(std::span(out), low, high);
    return out;
  }

 private:
  std::mt19937 engine_;
};

} // namespace tlux::test

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tlux::test {

// The side of a buffer that borders on a page that cannot be touched.
enum class Guard { kBehind, kBefore };

// A buffer between two pages that cannot be touched: a read or write past the guarded end stops the
// test at the faulting instruction, sanitizer or not. Writes past the other end are found by
// isIntact(). A buffer that is guarded behind starts at any alignment.
class GuardedBuffer {
 public:
  explicit GuardedBuffer(std::size_t size, std::uint8_t fill = 0, Guard guard = Guard::kBehind);
  ~GuardedBuffer();
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  std::uint8_t* data() { return data_; }
  std::size_t size() const { return size_; }
  std::span<std::uint8_t> bytes() { return {data_, size_}; }
  // False when something was written beside the buffer, on the same page.
  bool isIntact() const;

 private:
  std::uint8_t* pages_; // start of the mapping
  std::size_t mapped_;
  std::uint8_t* data_;
  std::size_t size_;
};

// The rows of a plane inside a larger block: everything but the described samples holds a guard
// value. Used to show that an output landed only where it should.
class GuardedPlane {
 public:
  GuardedPlane(int widthBytes, int height, int pitch);

  std::uint8_t* data() { return buffer_.data() + kMargin; }
  const std::uint8_t* data() const { return buffer_.data() + kMargin; }
  int pitch() const { return pitch_; }
  // Whether all bytes outside the rows still hold the guard value.
  bool isIntact() const;

 private:
  static constexpr std::size_t kMargin = 64;
  static constexpr std::uint8_t kGuard = 0xA5;

  int width_;
  int height_;
  int pitch_;
  std::vector<std::uint8_t> buffer_;
};

} // namespace tlux::test

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tlux::test {

// The side of a buffer that borders on an inaccessible page.
enum class Guard { kBehind, kBefore };

// A buffer between two inaccessible pages: an access past the guarded end stops the test at the
// faulting instruction, with or without a sanitizer. isIntact() detects writes past the other end.
// A buffer that is guarded behind may start at any alignment.
class GuardedBuffer {
 public:
  explicit GuardedBuffer(std::size_t size, std::uint8_t fill = 0, Guard guard = Guard::kBehind);
  ~GuardedBuffer();
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  std::uint8_t* data() { return data_; }
  std::size_t size() const { return size_; }
  std::span<std::uint8_t> bytes() { return {data_, size_}; }
  // False if something next to the buffer was overwritten on the same page.
  bool isIntact() const;

 private:
  std::uint8_t* pages_; // start of the mapping
  std::size_t mapped_;
  std::uint8_t* data_;
  std::size_t size_;
};

// The rows of a plane inside a larger block: everything except the samples has a guard value, which
// shows that only samples were written.
class GuardedPlane {
 public:
  GuardedPlane(int widthBytes, int height, int pitch);

  std::uint8_t* data() { return buffer_.data() + kMargin; }
  const std::uint8_t* data() const { return buffer_.data() + kMargin; }
  int pitch() const { return pitch_; }
  // Whether all bytes outside the rows still have the guard value.
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

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

// Rows of bytes that end with the last sample of the last row, guarded at either end, with a guard
// value in and between the rows.
class GuardedRows {
 public:
  GuardedRows(int rowBytes, int rows, int gap = 0, bool isBottomUp = false,
              Guard guard = Guard::kBehind);

  std::uint8_t* data() const { return first_; }
  int pitch() const { return pitch_; }
  std::uint8_t* row(int y) const { return first_ + std::ptrdiff_t{y} * pitch_; }
  // All rows, including the bytes between them.
  std::span<std::uint8_t> bytes() { return buffer_.bytes(); }

  // The samples only, packed.
  void set(std::span<const std::uint8_t> samples);
  std::vector<std::uint8_t> samples() const;
  // Whether all other bytes are unchanged.
  bool isIntact();
  bool holds(const std::vector<std::uint8_t>& expected) {
    return samples() == expected && isIntact();
  }

 private:
  static constexpr std::uint8_t kGap = 0xA5;

  int rowBytes_;
  int rows_;
  int pitch_;
  GuardedBuffer buffer_;
  std::uint8_t* first_;
};

} // namespace tlux::test

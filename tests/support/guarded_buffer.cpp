#include "support/guarded_buffer.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace tlux::test {
namespace {

constexpr std::uint8_t kBeside = 0xC3;

std::size_t pageSize() {
  static const auto kSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return kSize;
}

} // namespace

GuardedBuffer::GuardedBuffer(std::size_t size, std::uint8_t fill, Guard guard) : size_(size) {
  const std::size_t page = pageSize();
  const std::size_t usable = (size + page - 1) / page * page;
  mapped_ = usable + 2 * page;
  void* mapping =
      mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapping == MAP_FAILED) std::abort();
  pages_ = static_cast<std::uint8_t*>(mapping);
  mprotect(pages_, page, PROT_NONE);
  mprotect(pages_ + page + usable, page, PROT_NONE);
  data_ = pages_ + page + (guard == Guard::kBehind ? usable - size : 0);
  std::fill(pages_ + page, pages_ + page + usable, kBeside);
  std::fill(data_, data_ + size, fill);
}

GuardedBuffer::~GuardedBuffer() {
  munmap(pages_, mapped_);
}

bool GuardedBuffer::isIntact() const {
  const auto isBeside = [](std::uint8_t byte) { return byte == kBeside; };
  return std::all_of(pages_ + pageSize(), data_, isBeside) &&
         std::all_of(data_ + size_, pages_ + mapped_ - pageSize(), isBeside);
}

GuardedRows::GuardedRows(int rowBytes, int rows, int gap, bool isBottomUp, Guard guard)
    : rowBytes_(rowBytes),
      rows_(rows),
      pitch_(isBottomUp ? -(rowBytes + gap) : rowBytes + gap),
      buffer_(static_cast<std::size_t>(std::max(rows * (rowBytes + gap) - gap, 0)), kGap, guard),
      first_(buffer_.data() + (isBottomUp ? std::ptrdiff_t{rows - 1} * (rowBytes + gap) : 0)) {}

void GuardedRows::set(std::span<const std::uint8_t> samples) {
  for (int y = 0; y < rows_; ++y)
    std::copy_n(samples.begin() + std::ptrdiff_t{y} * rowBytes_, rowBytes_, row(y));
}

std::vector<std::uint8_t> GuardedRows::samples() const {
  std::vector<std::uint8_t> samples;
  for (int y = 0; y < rows_; ++y)
    samples.insert(samples.end(), row(y), row(y) + rowBytes_);
  return samples;
}

bool GuardedRows::isIntact() {
  std::ptrdiff_t at = 0;
  return buffer_.isIntact() && std::ranges::all_of(buffer_.bytes(), [&](std::uint8_t byte) {
           return at++ % std::abs(pitch_) < rowBytes_ || byte == kGap;
         });
}

} // namespace tlux::test

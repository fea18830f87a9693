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

GuardedPlane::GuardedPlane(int widthBytes, int height, int pitch)
    : width_(widthBytes),
      height_(height),
      pitch_(pitch),
      buffer_(2 * kMargin + static_cast<std::size_t>(height) * static_cast<std::size_t>(pitch),
              kGuard) {}

bool GuardedPlane::isIntact() const {
  const auto first = static_cast<std::ptrdiff_t>(kMargin);
  const std::ptrdiff_t end = first + static_cast<std::ptrdiff_t>(height_) * pitch_;
  for (std::ptrdiff_t i = 0; i < static_cast<std::ptrdiff_t>(buffer_.size()); ++i) {
    const bool inside = i >= first && i < end && (i - first) % pitch_ < width_;
    if (!inside && buffer_[static_cast<std::size_t>(i)] != kGuard) return false;
  }
  return true;
}

} // namespace tlux::test

#pragma once

#include <cstddef>
#include <cstdint>

#include "base/plane.hpp"
#include "platform/scratch.hpp"

namespace tlux::detail {

// Which pixels of a mask to look for.
enum class Pixels : std::uint8_t { kSet, kClear };

// One bit for each pixel of a mask, so 64 pixels are searched at once. The lowest bit of a word is
// the leftmost pixel. Every row ends with at least one 0 bit.
class PackedMask {
 public:
  PackedMask(MMemMgr manager, const Plane<const std::uint8_t>& mask, Pixels which);

  explicit operator bool() const { return static_cast<bool>(words_); }
  std::int32_t height() const { return height_; }
  std::ptrdiff_t wordsPerRow() const { return wordsPerRow_; }
  const std::uint64_t* row(std::int32_t y) const { return &words_[y * wordsPerRow_]; }

 private:
  std::int32_t height_;
  std::ptrdiff_t wordsPerRow_;
  Scratch<std::uint64_t> words_;
};

} // namespace tlux::detail

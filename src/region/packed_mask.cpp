#include "region/packed_mask.hpp"

#include <bit>
#include <cstring>

namespace tlux::detail {
namespace {

constexpr std::ptrdiff_t kGroup = 8; // pixels per byte of bits

static_assert(std::endian::native == std::endian::little, "the first byte is the lowest bit");

// One bit for each byte that is not 0. In a word of eight lanes, each lane first sets its highest
// bit (adding 127 to the low seven bits carries into it unless they are 0); shifts then fold the
// lanes onto the lowest one, two, four and eight at a time. No step needs lanes wider than 64 bits,
// so the loop over groups is vectorised.
std::uint8_t nonZeroBits(std::uint64_t lanes) {
  constexpr std::uint64_t kLow = 0x7F7F7F7F7F7F7F7F;
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  std::uint64_t bits = ((((lanes & kLow) + kLow) | lanes) >> 7) & kOnes;
  bits |= bits >> 7;
  bits |= bits >> 14;
  bits |= bits >> 28;
  return static_cast<std::uint8_t>(bits);
}

// Packs whole groups. `flip` 255 selects clear pixels.
void packGroups(const std::uint8_t* __restrict pixels, std::ptrdiff_t groups, std::uint8_t flip,
                std::uint8_t* __restrict bits) {
  for (std::ptrdiff_t i = 0; i < groups; ++i) {
    std::uint64_t lanes = 0;
    std::memcpy(&lanes, pixels + i * kGroup, sizeof(lanes));
    bits[i] = nonZeroBits(lanes) ^ flip;
  }
}

void packRow(const std::uint8_t* pixels, std::ptrdiff_t width, std::uint8_t flip,
             std::uint64_t* words, std::ptrdiff_t wordCount) {
  auto* bits = reinterpret_cast<std::uint8_t*>(words);
  const std::ptrdiff_t groups = width / kGroup;
  const std::ptrdiff_t rest = width % kGroup;
  packGroups(pixels, groups, flip, bits);
  std::memset(bits + groups, 0, static_cast<std::size_t>(wordCount * kGroup - groups));
  if (rest == 0) return;
  std::uint64_t lanes = 0;
  std::memcpy(&lanes, pixels + groups * kGroup, static_cast<std::size_t>(rest));
  bits[groups] = static_cast<std::uint8_t>((nonZeroBits(lanes) ^ flip) & ((1 << rest) - 1));
}

} // namespace

PackedMask::PackedMask(MMemMgr manager, const Plane<const std::uint8_t>& mask, Pixels which)
    : height_(mask.height),
      wordsPerRow_(mask.width / 64 + 1),
      words_(manager, wordsPerRow_ * height_) {
  if (!words_) return;
  const std::uint8_t flip = which == Pixels::kSet ? 0 : 255;
  for (std::int32_t y = 0; y < height_; ++y) {
    packRow(mask.row(y), mask.width, flip, &words_[y * wordsPerRow_], wordsPerRow_);
  }
}

} // namespace tlux::detail

#include <cstring>

#include "reduce/mean.hpp"
#include "reduce/reduce.hpp"

namespace tlux::detail {
namespace {

constexpr int kFactor = 8;
enum Colour : std::uint8_t { kRed, kGreen, kBlue };

// A site of the repeating 2×2 pattern.
struct Site {
  int x;
  int y;
};

std::uint32_t knownArrangement(std::uint32_t word) {
  constexpr std::uint32_t kBlueGreenGreenRed = 0x16161616;
  switch (word) {
    case 0x49494949: // green blue, red green
    case 0x61616161: // green red, blue green
    case 0x94949494: // red green, green blue
      return word;
    default:
      return kBlueGreenGreenRed;
  }
}

// The first site of a colour in reading order; two bits identify the colour of each site.
Site siteOf(Colour colour, std::uint32_t arrangement) {
  int site = 0;
  while ((arrangement >> (2 * site) & 3U) != colour) {
    ++site;
  }
  return {site & 1, site >> 1};
}

// The mean of nine 16-bit samples, one of each cell {0, 1, 3} × {0, 1, 3}.
std::uint8_t meanOfCells(const std::uint8_t* bytes, std::ptrdiff_t pitch) {
  std::uint64_t sum = 0;
  for (const int y : {0, 2, 6}) {
    for (const int x : {0, 2, 6}) {
      std::uint16_t sample = 0;
      std::memcpy(&sample, bytes + y * pitch + 2 * x, sizeof sample);
      sum += sample;
    }
  }
  return static_cast<std::uint8_t>((sum * kNinthQ20) >> 20 >> 8);
}

} // namespace

void reduceRawMosaic(std::uint32_t word, const TLUX_IMAGE& source, const Crop& crop,
                     const TLUX_IMAGE& destination) {
  const std::uint32_t arrangement = knownArrangement(word);
  const std::int64_t width = crop.width / kFactor;
  const std::int64_t height = crop.height / kFactor;
  const std::ptrdiff_t pitch = source.pitch[0];
  const OutputRows out(destination, width);
  constexpr Colour kColours[] = {kGreen, kBlue, kRed};

  for (int plane = 0; plane < 3; ++plane) {
    // The pattern starts at the image's corner, the cells at the rectangle's.
    const Site site = siteOf(kColours[plane], arrangement);
    const std::int64_t left = crop.left + ((site.x ^ crop.left) & 1);
    const std::int64_t top = crop.top + ((site.y ^ crop.top) & 1);
    for (std::int64_t y = 0; y < height; ++y) {
      const std::uint8_t* row = source.plane[0] + (top + y * kFactor) * pitch + 2 * left;
      std::uint8_t* to = out.row(plane, y);
      for (std::int64_t x = 0; x < width; ++x) {
        to[x] = meanOfCells(row + 2 * kFactor * x, pitch);
      }
    }
  }
}

} // namespace tlux::detail

#include <array>
#include <cstddef>

#include "base/plane_checks.hpp"
#include "tlux/detail.h"

namespace tlux::detail {
namespace {

struct Bgr {
  std::uint8_t b;
  std::uint8_t g;
  std::uint8_t r;
};

// Ten evenly spaced points of the viridis map, from dark to light.
constexpr std::array<Bgr, 10> kViridis = {{
    {0x54, 0x01, 0x44},
    {0x78, 0x28, 0x48},
    {0x89, 0x4A, 0x3E},
    {0x8E, 0x68, 0x31},
    {0x8E, 0x82, 0x26},
    {0x89, 0x9E, 0x1F},
    {0x79, 0xB7, 0x35},
    {0x59, 0xCD, 0x6D},
    {0x2C, 0xDE, 0xB4},
    {0x25, 0xE7, 0xFD},
}};

// Linear between the points, rounded.
constexpr std::array<Bgr, 256> kColours = [] {
  std::array<Bgr, 256> colours{};
  for (std::size_t level = 0; level < colours.size(); ++level) {
    const std::size_t position = level * (kViridis.size() - 1);
    const std::size_t near = position / 255;
    const std::size_t far = near + 1 < kViridis.size() ? near + 1 : near;
    const auto mix = [&](std::uint8_t a, std::uint8_t b) {
      const std::size_t weight = position % 255;
      return static_cast<std::uint8_t>((a * (255 - weight) + b * weight + 127) / 255);
    };
    colours[level] = {mix(kViridis[near].b, kViridis[far].b),
                      mix(kViridis[near].g, kViridis[far].g),
                      mix(kViridis[near].r, kViridis[far].r)};
  }
  return colours;
}();

void paint(Plane<const std::uint8_t> in, Plane<std::uint8_t> out) {
  for (std::int32_t y = 0; y < in.height; ++y) {
    const std::uint8_t* row = in.row(y);
    std::uint8_t* pixel = out.row(y);
    for (std::int32_t x = 0; x < in.width; ++x, pixel += 3) {
      const Bgr colour = kColours[row[x]];
      pixel[0] = colour.b;
      pixel[1] = colour.g;
      pixel[2] = colour.r;
    }
  }
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t ColorMap(const uint8_t* input, int32_t inputPitch, uint8_t* output, int32_t outputPitch,
                  int32_t width, int32_t height) noexcept {
  const Plane<const uint8_t> in{input, width, height, inputPitch};
  const Plane<uint8_t> out{output, width, height, outputPitch};
  if (!isPlane(in) || !isPlane(out, 3)) return TLUX_ERR_INVALID_PARAM;
  paint(in, out);
  return TLUX_OK;
}

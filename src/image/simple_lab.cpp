#include "image/bgr_chunk.hpp"
#include "image/lab_tables.hpp"
#include "image/simple_image.hpp"

namespace tlux::detail {
namespace {

// The tables of the conversion, small enough to stay in the first-level cache: the companding
// curve, and the lightness of each of its entries.
struct Companded {
  std::int16_t value[256];
  std::uint8_t lightness[256];
};

constexpr Companded makeCompanded() {
  Companded table{};
  for (std::size_t i = 0; i < 256; ++i) {
    const std::int32_t value = lab_cbrt_table[i];
    table.value[i] = static_cast<std::int16_t>(value);
    table.lightness[i] = static_cast<std::uint8_t>(lab_l_table[static_cast<std::size_t>(value)]);
  }
  return table;
}

constexpr Companded kCompanded = makeCompanded();

// Weighted sums of B, G, R, 0..255: X, Y and Z relative to the white point.
struct XyzChunk {
  std::uint8_t x[BgrChunk::kSize];
  std::uint8_t y[BgrChunk::kSize];
  std::uint8_t z[BgrChunk::kSize];
};

void toXyz(XyzChunk& __restrict xyz, const BgrChunk& __restrict bgr) {
  for (std::int32_t i = 0; i < bgr.count; ++i) {
    const std::uint32_t b = bgr.b[i];
    const std::uint32_t g = bgr.g[i];
    const std::uint32_t r = bgr.r[i];
    xyz.x[i] = static_cast<std::uint8_t>((194 * b + 385 * g + 445 * r + 512) >> 10);
    xyz.y[i] = static_cast<std::uint8_t>((37 * b + 366 * g + 109 * r + 256) >> 9);
    xyz.z[i] = static_cast<std::uint8_t>((447 * b + 56 * g + 9 * r + 256) >> 9);
  }
}

void labRow(std::uint8_t* to, const std::uint8_t* from, std::int32_t channels, std::int32_t width) {
  XyzChunk xyz;
  forEachBgrChunk(from, channels, width, [&](const BgrChunk& bgr, std::int64_t x) {
    toXyz(xyz, bgr);
    std::uint8_t* out = to + 3 * x;
    for (std::int32_t i = 0; i < bgr.count; ++i) {
      const std::int32_t fx = kCompanded.value[xyz.x[i]];
      const std::int32_t fy = kCompanded.value[xyz.y[i]];
      const std::int32_t fz = kCompanded.value[xyz.z[i]];
      out[3 * i] = kCompanded.lightness[xyz.y[i]];
      out[3 * i + 1] = static_cast<std::uint8_t>((((fx - fy) * 125) >> 8) - 128);
      out[3 * i + 2] = static_cast<std::uint8_t>((((fy - fz) * 25) >> 7) - 128);
    }
  });
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

void img_lab(const img* source, img* target) noexcept {
  if (source == nullptr || source->channels < 3) return;
  const std::int64_t width = source->width;
  if (!holds(source, source->height, width * source->channels)) return;
  if (!holds(target, source->height, width * 3)) return;
  for (std::int32_t y = 0; y < source->height; ++y) {
    labRow(target->rows[y], source->rows[y], source->channels, source->width);
  }
}

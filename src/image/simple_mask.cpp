#include "image/simple_image.hpp"

namespace tlux::detail {
namespace {

void unionRow(std::uint8_t* out, std::int32_t width, const std::uint8_t* a, const std::uint8_t* b) {
  for (std::int32_t x = 0; x < width; ++x) {
    out[x] = (a[x] | b[x]) != 0 ? 255 : 0;
  }
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

void img_or(const img* a, const img* b, img* out) noexcept {
  if (!holdPixelBytes(a, b, out)) return;
  for (std::int32_t y = 0; y < a->height; ++y) {
    unionRow(out->rows[y], a->width, a->rows[y], b->rows[y]);
  }
}

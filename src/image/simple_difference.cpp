#include <algorithm>

#include "base/multiversion.hpp"
#include "image/simple_image.hpp"

namespace tlux::detail {
namespace {

std::uint8_t absoluteDifference(std::uint8_t a, std::uint8_t b) {
  return static_cast<std::uint8_t>(std::max(a, b) - std::min(a, b));
}

template <class... Rows>
TLUX_INLINED void differ(std::uint8_t* out, std::int32_t width, const std::uint8_t* a,
                         const Rows*... others) {
  for (std::int32_t x = 0; x < width; ++x) {
    std::uint8_t largest = 0;
    ((largest = std::max(largest, absoluteDifference(a[x], others[x]))), ...);
    out[x] = largest;
  }
}

// The largest absolute difference between a row and any of the others.
using Row = const std::uint8_t*;
TLUX_MULTIVERSION void differenceRow(std::uint8_t* out, std::int32_t width, Row a, Row b) {
  differ(out, width, a, b);
}
TLUX_MULTIVERSION void differenceRow(std::uint8_t* out, std::int32_t width, Row a, Row b, Row c) {
  differ(out, width, a, b, c);
}
TLUX_MULTIVERSION void differenceRow(std::uint8_t* out, std::int32_t width, Row a, Row b, Row c,
                                     Row d, Row e) {
  differ(out, width, a, b, c, d, e);
}

template <class... Images>
void largestDifference(const img* out, const img* a, const Images*... others) {
  if (!holdPixelBytes(a, others..., out)) return;
  for (std::int32_t y = 0; y < a->height; ++y) {
    differenceRow(out->rows[y], a->width, a->rows[y], others->rows[y]...);
  }
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

void img_subnorm(const img* a, const img* b, img* out) noexcept {
  largestDifference(out, a, b);
}

void img_subnorm3(const img* a, const img* b, const img* c, img* out) noexcept {
  largestDifference(out, a, b, c);
}

void img_subnorm2(const img* a, const img* b, const img* c, const img* d, const img* e,
                  img* out) noexcept {
  largestDifference(out, a, b, c, d, e);
}

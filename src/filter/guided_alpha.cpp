// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges.
#include <cstdint>
#include <cstring>
#include <utility>

#include "filter/guided_coefficients.hpp"
#include "filter/guided_image.hpp"
#include "platform/scratch.hpp"
#include "tlux/guided_filter.h"

namespace tlux::detail {
namespace {

bool isCoefficientImage(const img* image, std::int32_t width, std::int32_t height) {
  return hasSamples(image, 1, 32) && image->width == width && image->height == height;
}

// Writes a and b of every step-th pixel of every step-th row.
void guidedAlpha(MMemMgr manager, const img* guide, const img* input, img* a, img* b,
                 std::int32_t radius, std::int32_t step) {
  if (radius < 0 || !hasSamples(guide, 1, 8) || !hasSamples(input, 1, 8) ||
      !areEqualInSize(guide, input)) {
    return;
  }
  const std::int32_t width = (guide->width + step - 1) / step;
  const std::int32_t height = (guide->height + step - 1) / step;
  if (!isCoefficientImage(a, width, height) || !isCoefficientImage(b, width, height)) return;

  using Fit = CoefficientFit<TruncatingModel>;
  using Rows = CoefficientRows<TruncatingModel::kCoefficients>;
  const Windows windows(guide->width, guide->height, radius);
  const Scratch<double> sums(manager, Fit::doublesNeeded(windows));
  const Scratch<std::int32_t> row(manager, Rows::valuesNeeded(guide->width, 1));
  if (!sums || !row) return;

  const Rows rows(row.get(), guide->width, 1);
  Fit fit(rowsOf(guide), rowsOf(input), windows, rows, sums.get());
  fit.startAt(0);
  for (std::int32_t y = 0; y < guide->height; ++y) {
    fit.fit(y);
    if (y % step != 0) continue;
    // Rows of foreign memory may not be aligned to their samples.
    for (const auto& [image, coefficient] : {std::pair{a, 0}, std::pair{b, 1}}) {
      std::int32_t* values = rows.row(y, coefficient);
      for (std::int32_t x = 0; x < width; ++x) {
        values[x] = values[x * step];
      }
      std::memcpy(image->rows[y / step], values,
                  static_cast<std::size_t>(width) * sizeof(std::int32_t));
    }
  }
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

void guided_box_alpha(MMemMgr manager, const img* I, const img* p, img* a, img* b,
                      int32_t r) noexcept {
  guidedAlpha(manager, I, p, a, b, r, 1);
}

void guided_box_alpha_half(MMemMgr manager, const img* I, const img* p, img* a, img* b,
                           int32_t r) noexcept {
  guidedAlpha(manager, I, p, a, b, r, 2);
}

// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges.
#include <algorithm>
#include <cstdint>

#include "filter/guided_filter.hpp"
#include "platform/worker_team.hpp"
#include "tlux/guided_filter.h"

namespace tlux::detail {
namespace {

constexpr int kBands = 4;

// Each pass is split into bands of rows. The second starts when the first has ended for the whole
// image: a band needs the coefficients of its neighbours, and when filtering in place it overwrites
// the rows that they are fitted to.
void guidedFilterOnThreads(MMemMgr manager, const img* guide, const img* input, img* output,
                           std::int32_t radius) {
  if (!areGuidedImages(guide, 1, input, output, radius)) return;
  using Model = TruncatingModel;
  using Fit = CoefficientFit<Model>;
  using Means = CoefficientMeans<Model::kCoefficients>;
  using Rows = CoefficientRows<Model::kCoefficients>;
  const Windows windows(guide->width, guide->height, radius);
  const std::int64_t share = std::max(Fit::doublesNeeded(windows), Means::doublesNeeded(windows));
  const Scratch<double> sums(manager, kBands * share);
  const Scratch<std::int32_t> coefficients(manager,
                                           Rows::valuesNeeded(windows.width, windows.height));
  if (!sums || !coefficients) return;

  // If no thread can be started, the calling thread does it all.
  WorkerTeam team;
  const Rows rows(coefficients.get(), windows.width, windows.height);
  const auto firstRow = [&](std::int64_t band) {
    return static_cast<std::int32_t>(windows.height * band / kBands);
  };
  team.share(kBands, [&](std::int64_t band, int) {
    Fit fit(rowsOf(guide), rowsOf(input), windows, rows, sums.get() + band * share);
    fit.startAt(firstRow(band));
    for (std::int32_t y = firstRow(band); y < firstRow(band + 1); ++y) {
      fit.fit(y);
    }
  });
  team.share(kBands, [&](std::int64_t band, int) {
    Means means(rows, windows, sums.get() + band * share);
    means.startAt(firstRow(band));
    for (std::int32_t y = firstRow(band); y < firstRow(band + 1); ++y) {
      applyCoefficients<Model>(means.from(0), guide->rows[y], windows.width, output->rows[y]);
      means.advance();
    }
  });
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

void guided_filter_1dI(MMemMgr manager, const img* I, const img* p, img* q, int32_t r) noexcept {
  guidedFilterOnThreads(manager, I, p, q, r);
}

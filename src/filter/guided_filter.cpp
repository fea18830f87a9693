// The guided filter with windows of (2r + 1) × (2r + 1), cut at the edges.
#include "filter/guided_filter.hpp"

#include "tlux/guided_filter.h"

namespace tlux::detail {
namespace {

template <class Model>
void guidedFilter(MMemMgr manager, const img* guide, const img* input, img* output,
                  std::int32_t radius) {
  if (!areGuidedImages(guide, Model::kGuides, input, output, radius)) return;
  const Windows windows(guide->width, guide->height, radius);
  const GuidedFilter<Model> filter(manager, windows);
  if (!filter) return;
  filter.run({rowsOf(guide), rowsOf(input), writableRowsOf(output)}, windows,
             {0, 0, guide->width, guide->height});
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

void guided_filter_1d(MMemMgr manager, const img* I, const img* p, img* q, int32_t r) noexcept {
  guidedFilter<TruncatingModel>(manager, I, p, q, r);
}

void guided_filter_3d(MMemMgr manager, const img* I, const img* p, img* q, int32_t r) noexcept {
  guidedFilter<ColourModel>(manager, I, p, q, r);
}

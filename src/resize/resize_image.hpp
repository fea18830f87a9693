#pragma once

#include <algorithm>

#include "base/result.hpp"
#include "image/component.hpp"
#include "resize/interpolate.hpp"

namespace tlux::detail {

// Rows [first, end) of an image.
struct RowRange {
  std::int64_t first;
  std::int64_t end;
};

// A component's part of a range of luma rows: each of its rows goes with its first luma row, so
// ranges that tile the image also tile the component.
RowRange componentRowsOf(const ComponentPlane& plane, const Component& component,
                         const RowRange& range);

// Checks that two images can be resized: one format, which has components.
Result checkResize(const TLUX_IMAGE& source, const TLUX_IMAGE& target);

void copyRows(const TLUX_IMAGE& source, const TLUX_IMAGE& target, const RowRange& range);
// For chroma without any sample in the source.
void fillNeutral(const ComponentPlane& target, const Component& component, const RowRange& rows);

// Interpolates the rows of one component that has samples in the source.
template <class Policy>
void interpolateComponent(const Axis<Policy>& x, const Axis<Policy>& y,
                          const ComponentPlane& source, const ComponentPlane& target,
                          const Component& component, const RowRange& rows) {
  interpolate(
      x, y, {component.channels, component.step}, {target.rowSamples, rows.first, rows.end},
      [&](std::int64_t row) { return source.row(row); },
      [&](std::int64_t row) { return target.row(row); });
}

// Calls resize(source, target, component, rows) for each component of images that pass
// checkResize().
template <class Resize>
void forEachComponent(const TLUX_IMAGE& source, const TLUX_IMAGE& target, const RowRange& range,
                      Resize resize) {
  for (const Component& component : componentsOf(*findFormat(source.format))) {
    const ComponentPlane from = planeOf(source, component);
    const ComponentPlane to = planeOf(target, component);
    if (to.isEmpty()) continue;
    const RowRange rows = componentRowsOf(to, component, range);
    if (from.width == 0 || from.height == 0) {
      fillNeutral(to, component, rows);
    } else {
      resize(from, to, component, rows);
    }
  }
}

// Resizes the rows of `range` of the target.
template <class Policy>
Result resizeImage(const TLUX_IMAGE* source, const TLUX_IMAGE* target, const RowRange& range) {
  if (source == nullptr || target == nullptr) return Result::kInvalidParam;
  const Result outcome = checkResize(*source, *target);
  if (outcome != Result::kOk) return outcome;
  if (source->width == target->width && source->height == target->height) {
    copyRows(*source, *target, range);
    return Result::kOk;
  }
  forEachComponent(*source, *target, range,
                   [](const ComponentPlane& from, const ComponentPlane& to,
                      const Component& component, const RowRange& rows) {
                     // A cut pixel alone in its row stands for a whole one.
                     const std::int64_t columns = std::max<std::int64_t>(to.width, 1);
                     interpolateComponent<Policy>({{from.width, columns}, from.width},
                                                  {{from.height, to.height}, from.height}, from, to,
                                                  component, rows);
                   });
  return Result::kOk;
}

} // namespace tlux::detail

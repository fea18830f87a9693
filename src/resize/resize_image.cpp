#include "resize/resize_image.hpp"
#include "base/result.hpp"

#include "tlux/platform.h"

namespace tlux::detail {

RowRange componentRowsOf(const ComponentPlane& plane, const Component& component,
                         const RowRange& range) {
  const auto rowAt = [&](std::int64_t lumaRow) {
    const std::int64_t row = (lumaRow + (1 << component.shiftY) - 1) >> component.shiftY;
    return std::min(row, plane.height);
  };
  return {rowAt(range.first), rowAt(range.end)};
}

Result checkResize(const TLUX_IMAGE& source, const TLUX_IMAGE& target) {
  if (source.format != target.format) return Result::kInvalidParam;
  const Format* format = findFormat(source.format);
  if (format == nullptr || componentsOf(*format).count == 0) return Result::kUnsupported;
  const bool areComplete = isComplete(source, *format) && isComplete(target, *format);
  return areComplete ? Result::kOk : Result::kInvalidParam;
}

void copyRows(const TLUX_IMAGE& source, const TLUX_IMAGE& target, const RowRange& range) {
  const Format& format = *findFormat(source.format);
  int copiedPlane = -1;
  for (const Component& component : componentsOf(format)) {
    if (component.plane == copiedPlane) continue; // packed: one plane contains all components
    copiedPlane = component.plane;
    const std::int64_t rowBytes = rowBytesOf(format, copiedPlane, source.width);
    const ComponentPlane to = planeOf(target, component);
    if (to.isEmpty()) continue;
    const RowRange rows = componentRowsOf(to, component, range);
    for (std::int64_t y = rows.first; y < rows.end; ++y) {
      MMemCpy(target.plane[copiedPlane] + y * target.pitch[copiedPlane],
              source.plane[copiedPlane] + y * source.pitch[copiedPlane],
              static_cast<std::uint64_t>(rowBytes));
    }
  }
}

void fillNeutral(const ComponentPlane& target, const Component& component, const RowRange& rows) {
  constexpr std::uint8_t kNeutral = 128;
  for (std::int64_t y = rows.first; y < rows.end; ++y) {
    for (std::int64_t k = 0; k < target.rowSamples; ++k) {
      target.row(y)[k * component.step] = kNeutral;
    }
  }
}

} // namespace tlux::detail

#pragma once

#include "base/plane.hpp"
#include "base/result.hpp"
#include "resize/interpolate.hpp"
#include "tlux/base.h"

namespace tlux::detail {

template <class T>
bool isResizable(const Plane<T>& plane) {
  return plane.data != nullptr && plane.width > 0 && plane.height > 0 && plane.pitch >= plane.width;
}

// Resizes one plane. The policy of each axis is constructed from its input size, output size and
// `settings`.
template <class Policy, class... Settings>
Result resizePlane(const Plane<const std::uint8_t>& source, const Plane<std::uint8_t>& target,
                   const Settings&... settings) {
  if (!isResizable(source) || !isResizable(target)) return Result::kInvalidParam;
  const Axis<Policy> x{{source.width, target.width, settings...}, source.width};
  const Axis<Policy> y{{source.height, target.height, settings...}, source.height};
  interpolate(
      x, y, {}, {target.width, 0, target.height}, [&](std::int64_t row) { return source.row(row); },
      [&](std::int64_t row) { return target.row(row); });
  return Result::kOk;
}

} // namespace tlux::detail

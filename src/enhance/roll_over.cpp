#include <array>
#include <cstring>

#include "base/result.hpp"
#include "image/component.hpp"
#include "tlux/nv21_tools.h"
#include "tlux/platform.h"

namespace tlux::detail {
namespace {

template <int kBytes>
void mirrorRow(const std::uint8_t* __restrict in, std::uint8_t* __restrict out,
               std::ptrdiff_t pixels) {
  using Pixel = std::array<std::uint8_t, std::size_t{kBytes}>;
  for (std::ptrdiff_t x = 0; x < pixels; ++x) {
    Pixel pixel;
    std::memcpy(&pixel, in + (pixels - 1 - x) * kBytes, kBytes);
    std::memcpy(out + x * kBytes, &pixel, kBytes);
  }
}

using MirrorRow = void (*)(const std::uint8_t*, std::uint8_t*, std::ptrdiff_t);
constexpr std::array<MirrorRow, 5> kMirrorRow = {nullptr, &mirrorRow<1>, &mirrorRow<2>,
                                                 &mirrorRow<3>, &mirrorRow<4>};

void rollComponent(const ComponentPlane& from, const ComponentPlane& to, int pixelBytes,
                   std::uint32_t flags) {
  const bool isUpsideDown = (flags & TLUX_ROLL_ROWS) != 0;
  const bool isMirrored = (flags & TLUX_ROLL_COLUMNS) != 0;
  for (std::int64_t y = 0; y < to.height; ++y) {
    const std::uint8_t* in = from.row(isUpsideDown ? to.height - 1 - y : y);
    if (isMirrored) {
      kMirrorRow[static_cast<std::size_t>(pixelBytes)](in, to.row(y), to.width);
    } else {
      MMemCpy(to.row(y), in, static_cast<std::uint64_t>(to.rowSamples));
    }
  }
}

Result rollOver(const TLUX_IMAGE* source, const TLUX_IMAGE* target, std::uint32_t flags) {
  if (source == nullptr || target == nullptr || source->format != target->format ||
      flags > (TLUX_ROLL_ROWS | TLUX_ROLL_COLUMNS)) {
    return Result::kInvalidParam;
  }
  const Format* format = findFormat(source->format);
  // In packed 4:2:2 the two components share a plane, which is not supported here.
  if (format == nullptr || componentsOf(*format).count != format->planes) {
    return Result::kUnsupported;
  }
  if (source->width != target->width || source->height != target->height ||
      !isComplete(*source, *format) || !isComplete(*target, *format) ||
      source->plane[0] == target->plane[0]) {
    return Result::kInvalidParam;
  }
  for (const Component& component : componentsOf(*format)) {
    const ComponentPlane to = planeOf(*target, component);
    if (!to.isEmpty()) rollComponent(planeOf(*source, component), to, component.channels, flags);
  }
  return Result::kOk;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t ImageRollOver(const TLUX_IMAGE* source, TLUX_IMAGE* target, uint32_t flags) noexcept {
  return codeOf(rollOver(source, target, flags));
}

#include <array>
#include <cstring>

#include "chroma/chroma_rule.hpp"
#include "enhance/adaptive_equalizer.hpp"
#include "enhance/histogram.hpp"
#include "enhance/lookup.hpp"
#include "platform/scratch.hpp"
#include "tlux/equalization.h"

namespace tlux::detail {
namespace {

bool hasPixels(const TLUX_IMAGE* image) {
  return image != nullptr && image->width > 0 && image->height > 0 &&
         hasRows(*image, 0, image->width);
}

bool isEqualizable(const TLUX_IMAGE* image) {
  return hasPixels(image) && image->plane[1] != nullptr && isSemiPlanar420(image->format);
}

bool haveEqualLuma(const TLUX_IMAGE& a, const TLUX_IMAGE& b) {
  return a.width == b.width && a.height == b.height && a.pitch[0] == b.pitch[0];
}

// Applies one table to the whole plane. The result goes to a working plane of the same pitch, which
// is then released.
void equalizeIntoWorkingPlane(MMemMgr manager, const TLUX_IMAGE& image) {
  std::array<std::uint32_t, kSampleLevels> table{};
  HistogramMap(&image, table.data(), nullptr);
  const Scratch<std::uint8_t> equalized(manager, std::int64_t{image.pitch[0]} * image.height);
  if (!equalized) return;
  const Plane<const std::uint8_t> in = lumaOf(image);
  const Plane<std::uint8_t> out{equalized.get(), in.width, in.height, in.pitch};
  for (std::int32_t y = 0; y < in.height; ++y) {
    lookUpRow(in.row(y), static_cast<std::size_t>(in.width), table.data(), out.row(y));
  }
}

void copyRowPadding(const Plane<const std::uint8_t>& in, const Plane<std::uint8_t>& out) {
  const auto padding = static_cast<std::size_t>(in.pitch - in.width);
  for (std::int32_t y = 0; y < in.height && in.data != out.data; ++y) {
    std::memcpy(out.row(y) + in.width, in.row(y) + in.width, padding);
  }
}

void equalizeFrame(MMemMgr manager, const TLUX_IMAGE& source, const TLUX_IMAGE& output) {
  const Plane<const std::uint8_t> in = lumaOf(source);
  const Plane<std::uint8_t> out{output.plane[0], in.width, in.height, in.pitch};
  if (equalizeByTiles(manager, in, out) != Result::kOk) return;
  copyRowPadding(in, out);
  scaleChromaByLumaRatio(source, output);
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

void HistogramEqualization(MMemMgr manager, const TLUX_IMAGE* image) noexcept {
  if (hasPixels(image)) equalizeIntoWorkingPlane(manager, *image);
}

void AdaptiveHistogramEqualization(MMemMgr manager, const TLUX_IMAGE* source,
                                   TLUX_IMAGE* output) noexcept {
  if (!isEqualizable(source) || !isEqualizable(output)) return;
  if (haveEqualLuma(*source, *output)) equalizeFrame(manager, *source, *output);
}

#include "image/copy.hpp"
#include "tlux/copy.h"

namespace tlux::detail {
namespace {

// Repacks the rectangle at the start of each plane, with the pitches of a new image of its size.
std::uint32_t cropImage(TLUX_IMAGE& image, const Rect& rect) {
  if (!isRectInImage(rect, image)) return TLUX_ERR_INVALID_PARAM;
  const auto [format, outcome] = copyRulesOf(image.format);
  if (outcome != TLUX_OK) return outcome;

  const auto width = static_cast<std::int32_t>(rect.width());
  const auto height = static_cast<std::int32_t>(rect.height());
  const auto newSizes = planeSizes(*format, width, height);
  const auto oldSizes = planeSizes(*format, image.width, image.height);
  TLUX_IMAGE cropped{};
  if (!setLayout(cropped, *format, newSizes, width, height)) return TLUX_ERR_INVALID_PARAM;
  for (int plane = 0; plane < format->planes; ++plane) {
    cropped.plane[plane] = image.plane[plane];
    const std::int64_t oldBytes = image.pitch[plane] * oldSizes[plane].rows;
    if (newSizes[plane].bytes() > oldBytes) return TLUX_ERR_INVALID_PARAM;
  }

  const Rect whole{0, 0, width, height};
  const std::uint32_t result = copyRect(cropped, image, {whole, rect});
  if (result == TLUX_OK) image = cropped;
  return result;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_CropImage_IMK(TLUX_IMAGE* image, const TLUX_RECT* rect) noexcept {
  if (image == nullptr || rect == nullptr) return TLUX_ERR_INVALID_PARAM;
  return cropImage(*image, toRect(*rect));
}

#include "base/result.hpp"
#include "image/copy.hpp"
#include "tlux/copy.h"

namespace tlux::detail {
namespace {

// Moves the rectangle to the start of each plane, with the pitches of a new image of its size.
Result cropImage(TLUX_IMAGE& image, const Rect& rect) {
  if (!isRectInImage(rect, image)) return Result::kInvalidParam;
  const auto [format, outcome] = copyRulesOf(image.format);
  if (outcome != Result::kOk) return outcome;

  const auto width = static_cast<std::int32_t>(rect.width());
  const auto height = static_cast<std::int32_t>(rect.height());
  const auto newSizes = planeSizes(*format, width, height);
  const auto oldSizes = planeSizes(*format, image.width, image.height);
  TLUX_IMAGE cropped{};
  const Result fits = setLayout(cropped, *format, newSizes, width, height);
  if (fits != Result::kOk) return fits;
  for (int plane = 0; plane < format->planes; ++plane) {
    cropped.plane[plane] = image.plane[plane];
    const std::int64_t oldBytes = image.pitch[plane] * oldSizes[plane].rows;
    if (newSizes[plane].bytes() > oldBytes) return Result::kInvalidParam;
  }

  const Rect whole{0, 0, width, height};
  const Result result = copyRect(cropped, image, {whole, rect});
  if (result == Result::kOk) image = cropped;
  return result;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_CropImage_IMK(TLUX_IMAGE* image, const TLUX_RECT* rect) noexcept {
  if (image == nullptr || rect == nullptr) return TLUX_ERR_INVALID_PARAM;
  return codeOf(cropImage(*image, toRect(*rect)));
}

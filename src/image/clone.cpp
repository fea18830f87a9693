#include "image/clone.hpp"
#include "base/result.hpp"

#include <limits>

#include "image/copy.hpp"
#include "tlux/copy.h"
#include "tlux/platform.h"

namespace tlux::detail {
namespace {

// Some formats have bytes that a copy skips, which would expose old memory contents.
void clearUncopied(const TLUX_IMAGE& image, const Format& format) {
  if (format.copiedBytes == format.pixelBytes) return;
  const auto bytes = planeSizes(format, image.width, image.height)[0].bytes();
  MMemSet(image.plane[0], 0, static_cast<std::uint64_t>(bytes));
}

} // namespace

Result cloneImage(TLUX_IMAGE** out, const TLUX_IMAGE& source, const TLUX_RECT* rect,
                  MMemMgr manager) {
  *out = nullptr;
  const Format* format = findFormat(source.format);
  if (format == nullptr) return Result::kUnsupported;
  const Rect part = rectOrWhole(rect, source);
  constexpr std::int64_t kMaxSize = std::numeric_limits<std::int32_t>::max();
  if (part.width() < 0 || part.width() > kMaxSize || part.height() < 0 ||
      part.height() > kMaxSize) {
    return Result::kNoMemory;
  }
  const Result created = resultOf(TLUX_CreateImage_IMK(out, static_cast<std::int32_t>(part.width()),
                                                       static_cast<std::int32_t>(part.height()),
                                                       source.format, manager));
  if (created != Result::kOk) return created;
  clearUncopied(**out, *format);
  return resultOf(TLUX_CopyImageROI_IMK(*out, nullptr, &source, rect));
}

} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_CloneImage_IMK(TLUX_IMAGE** out, const TLUX_IMAGE* source, MMemMgr manager) noexcept {
  if (out == nullptr || source == nullptr) return TLUX_ERR_INVALID_PARAM;
  return codeOf(cloneImage(out, *source, nullptr, manager));
}

uint32_t TLUX_CloneImageROI_IMK(TLUX_IMAGE** out, const TLUX_IMAGE* source, const TLUX_RECT* rect,
                                MMemMgr manager) noexcept {
  if (out == nullptr || source == nullptr || rect == nullptr) return TLUX_ERR_INVALID_PARAM;
  return codeOf(cloneImage(out, *source, rect, manager));
}

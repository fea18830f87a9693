#include "tlux/copy.h"

#include "base/result.hpp"
#include "image/copy.hpp"
#include "tlux/platform.h"

namespace tlux::detail {
namespace {

PlaneSpan pixelSpan(const Format& format, const TLUX_IMAGE& target, const TLUX_IMAGE& source,
                    const CopyRects& rects) {
  const std::int64_t pixelBytes = format.pixelBytes;
  return {rects.to.width() * format.copiedBytes, rects.to.height(),
          rects.to.top * target.pitch[0] + rects.to.left * pixelBytes,
          rects.from.top * source.pitch[0] + rects.from.left * pixelBytes};
}

PlaneSpan chromaSpanOf(const Format& format, const TLUX_IMAGE& target, const TLUX_IMAGE& source,
                       const CopyRects& rects, int plane) {
  const int shiftX = format.planes == 2 ? 0 : format.chromaShiftX; // a Cb Cr pair is two bytes wide
  const int shiftY = format.chromaShiftY;
  const std::int64_t targetPitch = target.pitch[plane];
  const std::int64_t sourcePitch = source.pitch[plane];

  PlaneSpan span;
  span.rowBytes = rects.to.width() >> shiftX;
  span.rows = rects.to.height() >> shiftY;
  span.to = (rects.to.top >> shiftY) * targetPitch + (rects.to.left >> shiftX);
  // Planar 4:2:0 reads Cb half a row further down when the rectangle starts on an odd row, because
  // the product is halved, not the row. Cr is read from its own row. Intended.
  const bool halvesOffset = plane == 1 && shiftX == 1 && shiftY == 1;
  span.from =
      (halvesOffset ? rects.from.top * sourcePitch / 2 : (rects.from.top >> shiftY) * sourcePitch) +
      (rects.from.left >> shiftX);
  return span;
}

} // namespace

Result resolveRects(const TLUX_IMAGE* target, const TLUX_RECT* targetRect, const TLUX_IMAGE* source,
                    const TLUX_RECT* sourceRect, CopyRects& rects) {
  if (target == nullptr || source == nullptr || target->format != source->format) {
    return Result::kInvalidParam;
  }
  rects = {rectOrWhole(targetRect, *target), rectOrWhole(sourceRect, *source)};
  const bool areAlike =
      rects.to.width() == rects.from.width() && rects.to.height() == rects.from.height();
  const bool areInside = isRectInImage(rects.to, *target) && isRectInImage(rects.from, *source);
  return areInside && areAlike ? Result::kOk : Result::kInvalidParam;
}

CopyRules copyRulesOf(std::uint32_t code) {
  const Format* format = findFormat(code);
  if (format != nullptr && format->copiedBytes != 0) return {format, Result::kOk};
  // An unknown planar or semi-planar code still starts with a luma plane, which is copied before
  // the code is reported.
  constexpr std::uint32_t kPlanar = 0x6;
  constexpr std::uint32_t kSemiPlanar = 0x8;
  const bool hasLuma = code >> 8 == kPlanar || code >> 8 == kSemiPlanar;
  return {hasLuma ? findFormat(TLUX_FMT_GRAY) : nullptr, Result::kUnsupported};
}

CopySpans spansOf(const Format& format, const TLUX_IMAGE& target, const TLUX_IMAGE& source,
                  const CopyRects& rects, ChromaSpan chromaSpan) {
  CopySpans spans{pixelSpan(format, target, source, rects)};
  for (int plane = 1; plane < format.planes; ++plane) {
    spans[plane] = chromaSpan(format, target, source, rects, plane);
  }
  return spans;
}

bool havePlanes(const TLUX_IMAGE& target, const TLUX_IMAGE& source, const CopySpans& spans) {
  for (std::size_t i = 0; i < spans.size(); ++i) {
    if (!spans[i].isEmpty() && (target.plane[i] == nullptr || source.plane[i] == nullptr)) {
      return false;
    }
  }
  return true;
}

void copySpan(const TLUX_IMAGE& target, const TLUX_IMAGE& source, int plane,
              const PlaneSpan& span) {
  if (span.isEmpty()) return;
  const std::int64_t targetPitch = target.pitch[plane];
  const std::int64_t sourcePitch = source.pitch[plane];
  std::uint8_t* to = target.plane[plane] + span.to;
  const std::uint8_t* from = source.plane[plane] + span.from;
  if (targetPitch == span.rowBytes && sourcePitch == span.rowBytes) { // rows lie end to end
    MMemMove(to, from, static_cast<std::uint64_t>(span.rowBytes * span.rows));
    return;
  }
  for (std::int64_t row = 0; row < span.rows; ++row) {
    MMemMove(to + row * targetPitch, from + row * sourcePitch,
             static_cast<std::uint64_t>(span.rowBytes));
  }
}

Result copyRect(const TLUX_IMAGE& target, const TLUX_IMAGE& source, const CopyRects& rects) {
  const auto [format, outcome] = copyRulesOf(source.format);
  if (format == nullptr) return outcome;

  const CopySpans spans = spansOf(*format, target, source, rects, chromaSpanOf);
  if (!havePlanes(target, source, spans)) return Result::kInvalidParam;
  for (int plane = 0; plane < format->planes; ++plane) {
    copySpan(target, source, plane, spans[plane]);
  }
  return outcome;
}

} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_CopyImageROI_IMK(TLUX_IMAGE* target, const TLUX_RECT* targetRect,
                               const TLUX_IMAGE* source, const TLUX_RECT* sourceRect) noexcept {
  CopyRects rects;
  const Result resolved = resolveRects(target, targetRect, source, sourceRect, rects);
  return codeOf(resolved != Result::kOk ? resolved : copyRect(*target, *source, rects));
}

uint32_t TLUX_CopyImage_IMK(TLUX_IMAGE* target, const TLUX_IMAGE* source) noexcept {
  return TLUX_CopyImageROI_IMK(target, nullptr, source, nullptr);
}

int32_t TLUX_IsImageEqual_IMK(const TLUX_IMAGE* a, const TLUX_IMAGE* b) noexcept {
  return a != nullptr && b != nullptr && a->width == b->width && a->height == b->height &&
         a->format == b->format;
}

#pragma once

#include <array>
#include <cstdint>

#include "base/result.hpp"
#include "image/format.hpp"
#include "image/rect.hpp"

namespace tlux::detail {

// A rectangle of one image and the target rectangle of the same size in another.
struct CopyRects {
  Rect to;
  Rect from;
};

// Null rectangles mean the whole image. Invalid when an image is null, the formats or the sizes of
// the rectangles differ, or a rectangle fails isRectInImage().
Result resolveRects(const TLUX_IMAGE* target, const TLUX_RECT* targetRect, const TLUX_IMAGE* source,
                    const TLUX_RECT* sourceRect, CopyRects& rects);

// What a copy does with a format code.
struct CopyRules {
  const Format* format; // null when nothing is copied
  Result outcome;       // of a copy that went well
};
CopyRules copyRulesOf(std::uint32_t code);

// The part of one plane that a copy moves.
struct PlaneSpan {
  std::int64_t rowBytes = 0;
  std::int64_t rows = 0;
  std::int64_t to = 0;   // offset of the first row from the start of the target's plane
  std::int64_t from = 0; // and of the source's

  bool isEmpty() const { return rowBytes <= 0 || rows <= 0; }
};

using CopySpans = std::array<PlaneSpan, 3>;

// Gives the span of plane 1 or 2.
using ChromaSpan = PlaneSpan (*)(const Format& format, const TLUX_IMAGE& target,
                                 const TLUX_IMAGE& source, const CopyRects& rects, int plane);

// The spans of the planes that the format has.
CopySpans spansOf(const Format& format, const TLUX_IMAGE& target, const TLUX_IMAGE& source,
                  const CopyRects& rects, ChromaSpan chromaSpan);

// Whether both images have every plane that takes part in the copy.
bool havePlanes(const TLUX_IMAGE& target, const TLUX_IMAGE& source, const CopySpans& spans);

// Moves the rows of a span, top to bottom. Tolerates overlap.
void copySpan(const TLUX_IMAGE& target, const TLUX_IMAGE& source, int plane, const PlaneSpan& span);

// Copies a rectangle of an image onto another of the same format.
Result copyRect(const TLUX_IMAGE& target, const TLUX_IMAGE& source, const CopyRects& rects);

} // namespace tlux::detail

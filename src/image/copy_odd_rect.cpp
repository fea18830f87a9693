#include "base/result.hpp"
#include "image/copy.hpp"
#include "tlux/copy.h"

namespace tlux::detail {
namespace {

// How the chroma pairs of source and target are aligned along a row.
enum class Pairing {
  kAligned,   // both corners even or both odd
  kShifted,   // only the source starts on the second pixel of a pair
  kExchanged, // only the target does
};

Pairing pairingOf(const CopyRects& rects) {
  const bool targetOdd = rects.to.left % 2 != 0;
  const bool sourceOdd = rects.from.left % 2 != 0;
  if (targetOdd == sourceOdd) return Pairing::kAligned;
  return targetOdd ? Pairing::kExchanged : Pairing::kShifted;
}

struct SourceRow {
  const std::uint8_t* bytes;
  std::int64_t before; // bytes of the same row in front of them
  std::int64_t left;   // bytes from here to the end of the plane
};

// The chroma byte `at`. A byte past the end of the plane is replaced by the same component of the
// pair before it, or by the other one of its own pair when there is no such pair.
std::uint8_t chromaAt(const SourceRow& row, std::int64_t at, int pairBytes) {
  if (at >= row.left) at -= row.before + at >= pairBytes ? pairBytes : pairBytes / 2;
  return row.bytes[at];
}

// Interleaved chroma: exchanges the bytes of each pair.
void exchangePairs(std::uint8_t* __restrict to, const SourceRow& source, std::int64_t width) {
  const std::uint8_t* __restrict from = source.bytes;
  const std::int64_t pairs = width / 2;
  for (std::int64_t i = 0; i < pairs; ++i) {
    to[2 * i] = from[2 * i + 1];
    to[2 * i + 1] = from[2 * i];
  }
  if (width % 2 != 0) to[width - 1] = chromaAt(source, width, 2);
}

// Packed 4:2:2, chroma in byte kChroma of each two-byte pixel: luma stays, the chroma bytes of each
// pair of pixels are swapped.
template <int kChroma>
void exchangePackedPairs(std::uint8_t* __restrict to, const SourceRow& source, std::int64_t width) {
  constexpr int kLuma = 1 - kChroma;
  const std::uint8_t* __restrict from = source.bytes;
  const std::int64_t pairs = width / 2;
  for (std::int64_t i = 0; i < pairs; ++i) {
    to[4 * i + kLuma] = from[4 * i + kLuma];
    to[4 * i + kLuma + 2] = from[4 * i + kLuma + 2];
    to[4 * i + kChroma] = from[4 * i + kChroma + 2];
    to[4 * i + kChroma + 2] = from[4 * i + kChroma];
  }
  if (width % 2 != 0) {
    const std::int64_t last = 2 * (width - 1);
    to[last + kLuma] = from[last + kLuma];
    to[last + kChroma] = chromaAt(source, last + kChroma + 2, 4);
  }
}

// Packed 4:2:2: luma stays, each chroma byte comes from the previous pixel, which exists because
// the source starts on an odd column.
template <int kChroma>
void shiftPackedPairs(std::uint8_t* __restrict to, const SourceRow& source, std::int64_t width) {
  constexpr int kLuma = 1 - kChroma;
  const std::uint8_t* __restrict from = source.bytes;
  for (std::int64_t i = 0; i < width; ++i) {
    to[2 * i + kLuma] = from[2 * i + kLuma];
    to[2 * i + kChroma] = from[2 * i + kChroma - 2];
  }
}

using RowFunction = void (*)(std::uint8_t*, const SourceRow&, std::int64_t);

// Calls a row function with the number of samples (bytes or two-byte pixels) in each row.
void copySpanBy(RowFunction copyRow, const TLUX_IMAGE& target, const TLUX_IMAGE& source, int plane,
                const PlaneSpan& span, std::int64_t before, std::int64_t samples) {
  if (span.isEmpty()) return;
  const Format& format = *findFormat(source.format);
  const std::int64_t planeRows = planeSizes(format, source.width, source.height)[plane].rows;
  // The end of the plane's last row; in a plane stored bottom up that row comes first in memory.
  const std::int64_t pitch = source.pitch[plane];
  const std::int64_t planeEnd = pitch < 0 ? -pitch : planeRows * pitch;
  for (std::int64_t row = 0; row < span.rows; ++row) {
    const std::int64_t from = span.from + row * pitch;
    copyRow(target.plane[plane] + span.to + row * target.pitch[plane],
            {source.plane[plane] + from, before, planeEnd - from}, samples);
  }
}

// Samples along one axis of a plane.
struct AxisSpan {
  std::int64_t to;
  std::int64_t from;
  std::int64_t count;
};

// An odd start of the target is raised to the next chroma sample, which shortens the span; the
// source keeps its start, so its chroma comes from the pair that it starts in. Intended.
AxisSpan chromaAxis(std::int64_t to, std::int64_t end, std::int64_t from, int shift) {
  if (shift == 0) return {to, from, end - to};
  const std::int64_t raised = to + to % 2;
  return {raised / 2, from / 2, (end - raised) / 2};
}

PlaneSpan raisedChromaSpan(const Format& format, const TLUX_IMAGE& target, const TLUX_IMAGE& source,
                           const CopyRects& rects, int plane) {
  const int shiftX = format.planes == 2 ? 0 : format.chromaShiftX;
  const auto x = chromaAxis(rects.to.left, rects.to.right, rects.from.left, shiftX);
  const auto y = chromaAxis(rects.to.top, rects.to.bottom, rects.from.top, format.chromaShiftY);
  return {x.count, y.count, y.to * target.pitch[plane] + x.to,
          y.from * source.pitch[plane] + x.from};
}

Result copyPacked(const Format& format, const TLUX_IMAGE& target, const TLUX_IMAGE& source,
                  const CopyRects& rects, const PlaneSpan& span) {
  if (format.lumaAt == kNowhere) return Result::kUnsupported;
  const int chroma = 1 - format.lumaAt; // byte of a pixel
  const Pairing pairing = pairingOf(rects);
  if (pairing == Pairing::kAligned) {
    copySpan(target, source, 0, span);
    return Result::kOk;
  }
  constexpr RowFunction kExchange[] = {exchangePackedPairs<0>, exchangePackedPairs<1>};
  constexpr RowFunction kShift[] = {shiftPackedPairs<0>, shiftPackedPairs<1>};
  const auto* functions = pairing == Pairing::kExchanged ? kExchange : kShift;
  copySpanBy(functions[chroma], target, source, 0, span, 2 * rects.from.left, rects.to.width());
  return Result::kOk;
}

void copyInterleavedChroma(const TLUX_IMAGE& target, const TLUX_IMAGE& source,
                           const CopyRects& rects, PlaneSpan span) {
  const Pairing pairing = pairingOf(rects);
  if (pairing == Pairing::kExchanged) {
    copySpanBy(exchangePairs, target, source, 1, span, rects.from.left, span.rowBytes);
    return;
  }
  if (pairing == Pairing::kShifted) --span.from; // from the start of the pair
  copySpan(target, source, 1, span);
}

Result copyOddRect(const TLUX_IMAGE& target, const TLUX_IMAGE& source, const CopyRects& rects) {
  const auto [format, outcome] = copyRulesOf(source.format);
  if (format == nullptr) return outcome;

  const CopySpans spans = spansOf(*format, target, source, rects, raisedChromaSpan);
  if (!havePlanes(target, source, spans)) return Result::kInvalidParam;

  if (format->isPacked422()) return copyPacked(*format, target, source, rects, spans[0]);
  copySpan(target, source, 0, spans[0]);
  if (format->planes == 2) copyInterleavedChroma(target, source, rects, spans[1]);
  for (int plane = 1; plane < format->planes && format->planes == 3; ++plane) {
    copySpan(target, source, plane, spans[plane]);
  }
  return outcome;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_CopyImageROIOddRect_IMK(TLUX_IMAGE* target, const TLUX_RECT* targetRect,
                                      const TLUX_IMAGE* source,
                                      const TLUX_RECT* sourceRect) noexcept {
  CopyRects rects;
  const Result resolved = resolveRects(target, targetRect, source, sourceRect, rects);
  return codeOf(resolved != Result::kOk ? resolved : copyOddRect(*target, *source, rects));
}

#include "tlux/mark.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

#include "base/multiversion.hpp"
#include "image/component.hpp"

namespace tlux::detail {
namespace {

constexpr std::int32_t kMarkWidth = TLUX_MARK_WIDTH;
constexpr std::int32_t kMarkHeight = TLUX_MARK_HEIGHT;
constexpr std::int32_t kMaxFactor = 8;

// All of them have half as many chroma columns as luma columns.
constexpr std::uint32_t kMarkedFormats[] = {TLUX_FMT_YCBCR422_P, TLUX_FMT_YCBCR420_P,
                                            TLUX_FMT_YCBCR420_YPUV, TLUX_FMT_YCBCR420_YPVU,
                                            TLUX_FMT_CBYCRY};

// A format that can be marked.
struct MarkFormat : SamplePlaces {
  explicit MarkFormat(const Format& format)
      : SamplePlaces(placesOf(format)), chromaRows(1 << format.chromaShiftY) {}

  std::int32_t chromaRows; // luma rows per chroma row
};

std::optional<MarkFormat> findMarkFormat(std::uint32_t code) {
  const auto* end = std::end(kMarkedFormats);
  if (std::find(std::begin(kMarkedFormats), end, code) == end) return std::nullopt;
  return MarkFormat(*findFormat(code));
}

// Where the mark lies in the frame, in luma pixels.
struct Placement {
  std::int64_t factor;
  std::int64_t top;
  std::int64_t left; // even
  bool fits;
};

Placement placeMark(std::int64_t width, std::int64_t height) {
  const auto [shorter, longer] = std::minmax(width, height);
  const std::int64_t factor = std::clamp(std::max((shorter + 225) / 450, (longer + 400) / 800),
                                         std::int64_t{1}, std::int64_t{kMaxFactor});
  const std::int64_t top = height - 42 * factor;
  const std::int64_t left = width - 122 * factor;
  return {factor, top, left / 2 * 2, top >= 0 && left >= 0};
}

bool holds(const TLUX_IMAGE& image, const SamplePlace& component, std::int64_t samples) {
  return hasRows(image, component.plane, component.step * samples);
}

// The part of the mark that is not fully transparent, in the mark's own samples; columns are even.
// Blending with an opacity of 0 changes nothing, so the rest is skipped.
struct VisiblePart {
  std::int32_t left = 0;
  std::int32_t right = kMarkWidth;
  std::int32_t top = 0;
  std::int32_t bottom = kMarkHeight;
};

VisiblePart visiblePart() {
  static_assert(kMarkWidth % 2 == 0);
  std::array<std::uint8_t, kMarkWidth> columns{};
  std::array<std::uint8_t, kMarkHeight> rows{};
  for (std::int32_t y = 0; y < kMarkHeight; ++y) {
    const std::uint8_t* const row = gTolMarkDataA + y * kMarkWidth;
    std::uint8_t any = 0;
    for (std::size_t x = 0; x < kMarkWidth; ++x) {
      columns[x] |= row[x];
      any |= row[x];
    }
    rows[static_cast<std::size_t>(y)] = any;
  }
  VisiblePart part;
  const auto isClear = [](const auto& lines, std::int32_t i) {
    return lines[static_cast<std::size_t>(i)] == 0;
  };
  while (part.top < part.bottom && isClear(rows, part.top))
    ++part.top;
  while (part.top < part.bottom && isClear(rows, part.bottom - 1))
    --part.bottom;
  while (part.left < part.right && isClear(columns, part.left))
    ++part.left;
  while (part.left < part.right && isClear(columns, part.right - 1))
    --part.right;
  part.left = part.left / 2 * 2;
  part.right = (part.right + 1) / 2 * 2;
  return part;
}

// One row of the visible part of the mark, enlarged to the frame's size.
struct MarkRow {
  using Samples = std::array<std::uint8_t, std::size_t{kMarkWidth + 1} * kMaxFactor>;
  Samples y, u, v, a;
  std::int64_t held = -1; // row of the tables

  // Consecutive rows of an enlarged mark mostly come from the same row of the tables.
  void load(const VisiblePart& part, std::int64_t row, std::int64_t factor) {
    if (row == held) return;
    held = row;
    const std::int64_t first = row * kMarkWidth + part.left;
    const std::int32_t count = part.right - part.left;
    enlarge(gTolMarkDataY + first, count, factor, y);
    enlarge(gTolMarkDataU + first, count, factor, u);
    enlarge(gTolMarkDataV + first, count, factor, v);
    enlarge(gTolMarkDataA + first, count, factor, a);
  }

  static void enlarge(const std::uint8_t* table, std::int32_t count, std::int64_t factor,
                      Samples& row) {
    // Each sample is stored eight times; the next one overwrites the surplus.
    std::uint8_t* out = row.data();
    for (std::int32_t i = 0; i < count; ++i, out += factor) {
      const std::uint64_t repeated = table[i] * std::uint64_t{0x0101010101010101};
      static_assert(sizeof repeated == kMaxFactor);
      std::memcpy(out, &repeated, sizeof repeated);
    }
  }
};

// Truncated mean of the two columns, in both rows, that share each chroma sample. Where every row
// has its own chroma, both rows are the same one and the mean is unchanged.
TLUX_MULTIVERSION void shareChroma(const MarkRow::Samples& upper, const MarkRow::Samples& lower,
                                   std::int64_t count, MarkRow::Samples& out) {
  for (std::int64_t c = 0; c < count; ++c) {
    const auto sum =
        static_cast<unsigned>(upper[2 * c] + upper[2 * c + 1] + lower[2 * c] + lower[2 * c + 1]);
    out[c] = static_cast<std::uint8_t>(sum >> 2);
  }
}

// ((255 − a)·frame + a·mark) / 255. With n = 255·q + r, n >> 8 is q when r ≥ q and q − 1 otherwise,
// so n + 1 + (n >> 8) is 256·q + r + 1 or 256·q + r, and its upper byte is q. Everything fits 16
// bits.
inline std::uint8_t blend(std::uint8_t frame, std::uint8_t mark, std::uint8_t alpha) {
  const auto n = static_cast<std::uint16_t>((255 - alpha) * frame + alpha * mark);
  return static_cast<std::uint8_t>(static_cast<std::uint16_t>(n + 1 + (n >> 8)) >> 8);
}

TLUX_MULTIVERSION void blendRow(std::uint8_t* __restrict frame, std::ptrdiff_t step,
                                const std::uint8_t* __restrict mark,
                                const std::uint8_t* __restrict alpha, std::int64_t count) {
  if (step == 1) { // a separate loop, so compilers see that the samples are adjacent
    for (std::int64_t i = 0; i < count; ++i) {
      frame[i] = blend(frame[i], mark[i], alpha[i]);
    }
    return;
  }
  for (std::int64_t i = 0; i < count; ++i) {
    frame[i * step] = blend(frame[i * step], mark[i], alpha[i]);
  }
}

// The sample of one component at `column` and `row` of its own grid.
std::uint8_t* sampleAt(const TLUX_IMAGE& image, const SamplePlace& component, std::int64_t row,
                       std::int64_t column) {
  return image.plane[component.plane] + row * image.pitch[component.plane] + component.offset +
         column * component.step;
}

void blendMark(const TLUX_IMAGE& image, const MarkFormat& format, const Placement& place) {
  const VisiblePart part = visiblePart();
  const std::int64_t width = (part.right - part.left) * place.factor;
  const std::int64_t left = place.left + part.left * place.factor;
  const std::int64_t first = part.top * place.factor / format.chromaRows * format.chromaRows;
  const std::int64_t end = part.bottom * place.factor;
  MarkRow rows[2];
  MarkRow::Samples cb, cr, alpha;
  for (std::int64_t i = first; i < end; i += format.chromaRows) {
    for (std::int64_t dy = 0; dy < format.chromaRows; ++dy) {
      rows[dy].load(part, (i + dy) / place.factor, place.factor);
      blendRow(sampleAt(image, format.luma, place.top + i + dy, left), format.luma.step,
               rows[dy].y.data(), rows[dy].a.data(), width);
    }
    const MarkRow& lower = rows[format.chromaRows - 1];
    shareChroma(rows[0].u, lower.u, width / 2, cb);
    shareChroma(rows[0].v, lower.v, width / 2, cr);
    shareChroma(rows[0].a, lower.a, width / 2, alpha);
    const std::int64_t row = place.top / format.chromaRows + i / format.chromaRows;
    blendRow(sampleAt(image, format.cb, row, left / 2), format.cb.step, cb.data(), alpha.data(),
             width / 2);
    blendRow(sampleAt(image, format.cr, row, left / 2), format.cr.step, cr.data(), alpha.data(),
             width / 2);
  }
}

void embedMark(const TLUX_IMAGE& image) {
  const std::optional<MarkFormat> format = findMarkFormat(image.format);
  if (!format) return;
  const Placement place = placeMark(image.width, image.height);
  if (!place.fits || !holds(image, format->luma, image.width) ||
      !holds(image, format->cb, image.width / 2) || !holds(image, format->cr, image.width / 2)) {
    return;
  }
  blendMark(image, *format, place);
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_EmbeddedMark(TLUX_IMAGE* image) noexcept {
  if (image != nullptr) embedMark(*image);
  return TLUX_OK;
}

#include "tone/render.hpp"
#include "base/result.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "chroma/chroma_rule.hpp"
#include "guided_upsampling/fast_guided_filter.hpp"
#include "platform/pool_need.hpp"
#include "tone/reference_rows.hpp"

namespace tlux::detail {
namespace {

// Chroma rows that one thread makes at a time when they are made apart from the luma.
constexpr std::int64_t kChromaRows = 32;

// Makes whole rows of the output: filtered and copied columns, and, while they are in the nearest
// cache, the chroma that belongs to them.
class RowRenderer {
 public:
  RowRenderer(const TLUX_IMAGE& source, const TLUX_IMAGE& output, std::int64_t filteredColumns,
              Rest rest)
      : source_(source),
        output_(output),
        filteredColumns_(filteredColumns),
        rest_(rest),
        chroma_(chromaWalk(source, output)),
        chromaFollows_(keepsToRows(chroma_, source, output)) {}

  const ChromaWalk& chroma() const { return chroma_; }
  bool chromaFollows() const { return chromaFollows_; }

  template <class Groups>
  void operator()(std::int64_t y, Groups& groups) const {
    for (std::ptrdiff_t x = 0; x < filteredColumns_; x += kTile) {
      const auto end =
          static_cast<std::ptrdiff_t>(std::min<std::int64_t>(x + kTile, filteredColumns_));
      groups.makeLuma({x, end}, {sourceRow(y) + x, source_.pitch[0]},
                      {outputRow(y) + x, output_.pitch[0]});
      if (chromaFollows_ && end < filteredColumns_) scaleChroma(y, x, end);
    }
    for (int i = 0; i < kUpsampling; ++i) {
      copyFrom(filteredColumns_, y + i);
    }
    if (chromaFollows_)
      scaleChroma(y, (filteredColumns_ - 1) / kTile * kTile, ChromaWalk::kAllColumns);
  }

  // Rows that are not filtered.
  void copyRows(std::int64_t first, std::int64_t end) const {
    for (std::int64_t y = first; y < end; ++y) {
      copyFrom(0, y);
      if (chromaFollows_ && y % 2 == 0) chroma_.scaleRow(y / 2);
    }
  }

 private:
  // Columns whose luma stays in the nearest cache until their chroma is made.
  static constexpr std::int64_t kTile = 512;

  void scaleChroma(std::int64_t y, std::int64_t first, std::int64_t end) const {
    for (std::int64_t j = y / 2; j < y / 2 + kUpsampling / 2; ++j) {
      chroma_.scaleColumns(j, first, end);
    }
  }
  const std::uint8_t* sourceRow(std::int64_t y) const {
    return source_.plane[0] + y * source_.pitch[0];
  }
  std::uint8_t* outputRow(std::int64_t y) const { return output_.plane[0] + y * output_.pitch[0]; }
  void copyFrom(std::int64_t column, std::int64_t y) const {
    if (rest_ == Rest::kKept || y >= source_.height) return;
    std::memcpy(outputRow(y) + column, sourceRow(y) + column,
                static_cast<std::size_t>(source_.width - column));
  }

  const TLUX_IMAGE& source_;
  const TLUX_IMAGE& output_;
  std::int64_t filteredColumns_;
  Rest rest_;
  ChromaWalk chroma_;
  bool chromaFollows_;
};

void copyChroma(const TLUX_IMAGE& source, const TLUX_IMAGE& output) {
  for (std::int32_t j = 0; j < source.height / 2; ++j) {
    std::memcpy(output.plane[1] + std::ptrdiff_t{j} * output.pitch[1],
                source.plane[1] + std::ptrdiff_t{j} * source.pitch[1],
                static_cast<std::size_t>(source.width));
  }
}

} // namespace

Result renderFrame(MMemMgr manager, WorkerTeam& team, const MappedReference& reference,
                   const TLUX_IMAGE& source, const TLUX_IMAGE& output, Rest rest,
                   const TLUX_IMAGE* unfinishedReference) {
  // A reference frame has even sides, so the bands cover all of its rows.
  const auto fillReference = [&](Band rows) {
    if (unfinishedReference == nullptr) return;
    fillReferenceRows(source, *unfinishedReference, rows, Components::kChroma);
  };
  const GuidedFrame frame = {reference.mapped, reference.luma, kToneRadius, kToneRegularisation};
  const RowRenderer renderer(source, output, std::int64_t{kUpsampling} * frame.width(), rest);
  const ChromaWalk& chroma = renderer.chroma();
  if (!renderer.chromaFollows()) {
    fillReference({0, frame.height()});
    unfinishedReference = nullptr;
    // The chroma rule may cover some rows only in part.
    if (rest == Rest::kCopied) copyChroma(source, output);
  }

  // Rows of the reference that lie in a band.
  const std::int32_t rows = std::min(kBandCount * bandHeight(frame.height()), frame.height());
  const auto makeStrip = [&](const Strip& strip) {
    fillReference(strip.rows); // before the output's chroma, which may take the source's place
    if (filterStrip(strip, renderer) != Result::kOk) {
      renderer.copyRows(kUpsampling * strip.rows.first, kUpsampling * strip.rows.end);
    }
    if (strip.rows.end == rows) renderer.copyRows(std::int64_t{kUpsampling} * rows, output.height);
  };

  const std::int64_t bytes = workerPoolBytes(frame.width(), frame.radius);
  const Result result = team.isComplete()
                            ? filterInStrips(manager, frame, bytes, team, kBandCount, makeStrip)
                            : Result::kNoThread;
  if (result != Result::kOk) {
    fillReference({0, frame.height()});
    chroma.scaleRows(0, chroma.rows());
    return result;
  }

  if (rows == 0) renderer.copyRows(0, output.height); // a single row is in no band
  if (!renderer.chromaFollows()) {
    team.share((chroma.rows() + kChromaRows - 1) / kChromaRows, [&](std::int64_t i, int /*slot*/) {
      chroma.scaleRows(i * kChromaRows, std::min((i + 1) * kChromaRows, chroma.rows()));
    });
  }
  return result;
}

std::int64_t renderPoolBytes(std::int32_t width, std::int32_t height) {
  return poolBlock(FilterBlock(width, height, workerPoolBytes(width, kToneRadius)).bytes());
}

} // namespace tlux::detail

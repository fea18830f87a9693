#include "stream/render.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>

#include "chroma/chroma_row.hpp"
#include "guided_upsampling/fast_guided_filter.hpp"
#include "guided_upsampling/fine_fit.hpp"
#include "platform/pool_need.hpp"
#include "stream/options.hpp"
#include "stream/video_range.hpp"

namespace tlux {
namespace {

constexpr std::int32_t kFilterRadius = 16;         // reference pixels
constexpr std::int32_t kFilterRegularisation = 20; // squared codes

template <class Byte = std::uint8_t>
Byte* rowOf(const TLUX_IMAGE& image, int plane, std::int64_t y) {
  return image.plane[plane] + y * image.pitch[plane];
}

void copyRows(const StreamFrame& frame, int plane, std::int64_t first, std::int64_t end) {
  if (frame.isInPlace()) return;
  for (std::int64_t y = first; y < end; ++y) {
    std::memcpy(rowOf(frame.output, plane, y), rowOf(frame.source, plane, y),
                static_cast<std::size_t>(frame.source.width));
  }
}

// Makes the rows of a frame in pairs: luma, and while it is in the nearest cache the chroma.
class PairWriter {
 public:
  // `rows` of the worker, three: what may not be written yet, since it would replace what is still
  // to be read, waits there.
  PairWriter(const StreamFrame& frame, std::array<std::uint8_t*, 3> rows)
      : frame_(frame), rows_(rows) {}

  template <class Lines>
  void operator()(std::int64_t y, int phase, const Lines& lines) const {
    if (y >= frame_.source.height) return;
    const std::ptrdiff_t width = frame_.source.width;
    const RowPair<const std::uint8_t> guide = {rowOf(frame_.source, 0, y),
                                               rowOf(frame_.source, 0, y + 1)};
    const RowPair<std::uint8_t> out = {rowOf(frame_.output, 0, y), rowOf(frame_.output, 0, y + 1)};
    // Chroma is made of both lumas of the upper row, and a range is kept by what was there before.
    const bool isVideoRange = frame_.isVideoRange;
    const bool waits = frame_.isInPlace() || isVideoRange;
    const RowPair<std::uint8_t> made = {waits ? rows_[0] : out.upper,
                                        isVideoRange ? rows_[1] : out.lower};
    applyCoefficients(phase, lines, guide, made, width);
    if (isVideoRange) {
      keepInRange(guide.upper, made.upper, width, kVideoBlack, kVideoWhite);
      keepInRange(guide.lower, made.lower, width, kVideoBlack, kVideoWhite);
    }
    scaleChroma(y / 2, guide.upper, made.upper);
    store(made.upper, out.upper);
    store(made.lower, out.lower);
  }

 private:
  void scaleChroma(std::int64_t j, const std::uint8_t* oldLuma, const std::uint8_t* newLuma) const {
    const std::ptrdiff_t width = frame_.source.width;
    const std::uint8_t* in = rowOf(frame_.source, 1, j);
    std::uint8_t* out = rowOf(frame_.output, 1, j);
    std::uint8_t* made = frame_.isVideoRange ? rows_[2] : out;
    const ChromaRule rule = {frame_.isVideoRange ? kVideoBlack : 0, frame_.colour};
    scaleChromaRow(rule, oldLuma, newLuma, in, made, width / 2);
    if (frame_.isVideoRange) keepInRange(in, made, width, kVideoBlack, kVideoChromaEnd);
    store(made, out);
  }

  void store(const std::uint8_t* made, std::uint8_t* out) const {
    if (made != out) std::memcpy(out, made, static_cast<std::size_t>(frame_.source.width));
  }

  const StreamFrame& frame_;
  std::array<std::uint8_t*, 3> rows_;
};

// The filter of a frame: its maps lie in the frame's memory, and so does what each worker needs.
class FrameFilter {
 public:
  FrameFilter(Crew& crew, const FrameMemory& memory, const StreamFrame& frame)
      : crew_(crew), memory_(memory), frame_(frame) {
    const int pools = filterPools(static_cast<std::uint32_t>(crew.size()));
    for (int i = 0; i < pools; ++i) {
      pools_[static_cast<std::size_t>(i)] = memory.workerPool(i);
    }
  }

  void computeAllCoefficients() {
    if (frame_.hasFineWindows) {
      fitAllFinely();
    } else {
      fitInBands();
    }
  }

  void writeRows() {
    const std::int64_t stripsPerBand =
        (std::int64_t{bands_[0].bandRows} + kStripRows - 1) / kStripRows;
    shareItems(crew_.team(), bandCount_ * stripsPerBand, [&](std::int64_t index, int slot) {
      const auto i = static_cast<std::size_t>(index / stripsPerBand);
      const Band rows = rowsOf(bands_[i]);
      const auto first = static_cast<std::int32_t>(rows.first + index % stripsPerBand * kStripRows);
      if (first >= rows.end) return;
      const std::int32_t end = std::min(rows.end, first + kStripRows);
      const PairWriter writer(frame_, {memory_.workerRow(slot, 0), memory_.workerRow(slot, 1),
                                       memory_.workerRow(slot, 2)});
      const Strip strip = {
          &bands_[i], {first, end}, coefficients_[i], pools_[static_cast<std::size_t>(slot)]};
      if (!filterStrip(strip, writer)) copyStrip(first, end);
    });
  }

 private:
  TLUX_GUIDE_CONTEXT wholeFrame() const {
    const CoefficientPlanes maps = memory_.coefficients();
    TLUX_GUIDE_CONTEXT whole = {};
    whole.input = memory_.mapped().data;
    whole.guide = memory_.reference().data;
    whole.lowWidth = memory_.layout().refWidth();
    whole.lowHeight = memory_.layout().refHeight();
    whole.lowPitch = whole.lowWidth;
    whole.radius = kFilterRadius;
    whole.eps = kFilterRegularisation;
    whole.rawA = maps.rawA;
    whole.rawB = maps.rawB;
    whole.smoothA = maps.smoothA;
    whole.smoothB = maps.smoothB;
    whole.bandRows = whole.lowHeight;
    return whole;
  }

  // As the run: every band by itself.
  void fitInBands() {
    bandCount_ = kBandCount;
    for (int i = 0; i < kBandCount; ++i) {
      TLUX_GUIDE_CONTEXT& band = bands_[static_cast<std::size_t>(i)];
      band = wholeFrame();
      band.manager = pools_[static_cast<std::size_t>(i)];
      band.bandRows = bandHeight(band.lowHeight);
      band.startRow = i * band.bandRows;
    }
    shareItems(crew_.team(), kBandCount, [&](std::int64_t index, int /*slot*/) {
      const auto i = static_cast<std::size_t>(index);
      coefficients_[i] = computeCoefficients(bands_[i]);
      if (coefficients_[i] != Coefficients::kNone) finish(rowsOf(bands_[i]));
    });
  }

  // One band, the parts being no more than a share of the work.
  void fitAllFinely() {
    bandCount_ = 1;
    bands_[0] = wholeFrame();
    const CoefficientPlanes maps = memory_.coefficients();
    const Plane<std::int32_t> a = mapOf(maps.rawA);
    const Plane<std::int32_t> b = mapOf(maps.rawB);
    const std::int32_t parts = std::clamp(crew_.size(), 1, kBandCount);
    const std::int32_t partRows = (a.height + parts - 1) / parts;
    std::atomic<bool> isDone{true};
    shareRows(crew_.team(), a.height, partRows, [&](Band rows, int slot) {
      const MMemMgr pool = pools_[static_cast<std::size_t>(slot)];
      if (!fitFinely(pool, rows, memory_.mapped(), memory_.reference(), kFilterRegularisation,
                     a.data, b.data)) {
        isDone = false;
      }
    });
    shareRows(crew_.team(), a.height, partRows, [&](Band rows, int slot) {
      const MMemMgr pool = pools_[static_cast<std::size_t>(slot)];
      if (!isDone || !smoothFinely(pool, rows, a, b, maps.smoothA, maps.smoothB)) {
        isDone = false;
      } else {
        finish(rows);
      }
    });
    coefficients_[0] = isDone ? Coefficients::kShort : Coefficients::kNone;
  }

  Plane<std::int32_t> mapOf(std::int32_t* data) const {
    return packedPlane(data, memory_.layout().refWidth(), memory_.layout().refHeight());
  }

  void finish(Band rows) const {
    if (!frame_.isVideoRange || rows.first >= rows.end) return;
    const CoefficientPlanes maps = memory_.coefficients();
    const std::ptrdiff_t width = memory_.layout().refWidth();
    const std::ptrdiff_t first = rows.first * width;
    toVideoRange(maps.smoothA + first, maps.smoothB + first, rows.end * width - first);
  }

  void copyStrip(std::int32_t first, std::int32_t end) const {
    const std::int64_t height = frame_.source.height;
    const std::int64_t top = std::min<std::int64_t>(kUpsampling * std::int64_t{first}, height);
    const std::int64_t bottom = std::min<std::int64_t>(kUpsampling * std::int64_t{end}, height);
    copyRows(frame_, 0, top, bottom);
    copyRows(frame_, 1, top / 2, bottom / 2);
  }

  Crew& crew_;
  const FrameMemory& memory_;
  const StreamFrame& frame_;
  std::array<MMemMgr, kMostWorkers> pools_{};
  int bandCount_ = 0;
  std::array<TLUX_GUIDE_CONTEXT, kBandCount> bands_{};
  std::array<Coefficients, kBandCount> coefficients_{};
};

} // namespace

bool renderStreamFrame(Crew& crew, const FrameMemory& memory, const StreamFrame& frame) {
  FrameFilter filter(crew, memory, frame);
  filter.computeAllCoefficients();
  if (crew.takeFailure()) return false;
  filter.writeRows();
  crew.takeFailure(); // what it left over was done: once rows are written there is no way back
  return true;
}

void copyStreamFrame(const StreamFrame& frame) {
  copyRows(frame, 0, 0, frame.source.height);
  copyRows(frame, 1, 0, frame.source.height / 2);
}

std::int64_t filterPoolBytes(std::int32_t refWidth) {
  return std::max(workerPoolBytes(refWidth, kFilterRadius),
                  poolOf(poolBlock(fineFitScratchBytes(refWidth))));
}

} // namespace tlux

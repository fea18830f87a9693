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

namespace tlux::detail {
namespace {

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

// Makes the rows of a frame in tiles: luma first, then chroma while the luma is in the nearest
// cache. Results wait in buffers, since chroma needs both lumas and the new one may overwrite the
// old, and since clamping to a range needs the old samples.
class TileWriter {
 public:
  explicit TileWriter(const StreamFrame& frame) : frame_(frame) {}

  template <class Groups>
  void operator()(std::int64_t y, Groups& groups) const {
    const std::int64_t rows = std::min<std::int64_t>(frame_.source.height - y, kUpsampling);
    if (rows <= 0) return;
    for (std::ptrdiff_t x = 0; x < frame_.source.width; x += kTile) {
      const std::ptrdiff_t end = std::min<std::ptrdiff_t>(x + kTile, frame_.source.width);
      std::uint8_t luma[kUpsampling * kTile];
      groups.makeLuma({x, end, static_cast<int>(rows)},
                      {rowOf(frame_.source, 0, y) + x, frame_.source.pitch[0]}, {luma, kTile});
      for (std::int64_t i = 0; i < rows; ++i) {
        writeRow(y + i, x, end - x, luma + i * kTile);
      }
    }
  }

 private:
  static constexpr std::ptrdiff_t kTile = 512;

  void writeRow(std::int64_t y, std::ptrdiff_t x, std::ptrdiff_t count, std::uint8_t* luma) const {
    const std::uint8_t* guide = rowOf(frame_.source, 0, y) + x;
    if (frame_.isVideoRange) keepInRange(guide, luma, count, kVideoBlack, kVideoWhite);
    if (y % 2 == 0) writeChroma(y / 2, x, count, guide, luma);
    std::memcpy(rowOf(frame_.output, 0, y) + x, luma, static_cast<std::size_t>(count));
  }

  void writeChroma(std::int64_t j, std::ptrdiff_t x, std::ptrdiff_t count,
                   const std::uint8_t* oldLuma, const std::uint8_t* newLuma) const {
    const std::uint8_t* in = rowOf(frame_.source, 1, j) + x;
    std::uint8_t* out = rowOf(frame_.output, 1, j) + x;
    const ChromaRule rule = {frame_.isVideoRange ? kVideoBlack : 0, frame_.colour};
    if (!frame_.isVideoRange) {
      scaleChromaRow(rule, oldLuma, newLuma, in, out, count / 2);
      return;
    }
    std::uint8_t made[kTile];
    scaleChromaRow(rule, oldLuma, newLuma, in, made, count / 2);
    keepInRange(in, made, count, kVideoBlack, kVideoChromaEnd);
    std::memcpy(out, made, static_cast<std::size_t>(count));
  }

  const StreamFrame& frame_;
};

// The filter of a frame: its maps and the pool of each worker are in the frame's memory.
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
    forEachStrip(crew_.team(), filtered_, pools_, [this](const Strip& strip) {
      const TileWriter writer(frame_);
      if (filterStrip(strip, writer) != Result::kOk) copyStrip(strip.rows);
    });
  }

 private:
  GuidedFrame guidedFrame() const {
    return {memory_.mapped(), memory_.reference(), kToneRadius, kToneRegularisation};
  }

  // Each band separately, as in the run.
  void fitInBands() {
    filtered_ = splitIntoBands(guidedFrame(), memory_.coefficients(), pools_);
    shareItems(crew_.team(), kBandCount, [&](std::int64_t index, int /*slot*/) {
      const auto i = static_cast<std::size_t>(index);
      const GuidedBand& band = filtered_.bands[i];
      filtered_.coefficients[i] = computeCoefficients(band);
      if (filtered_.coefficients[i] != Coefficients::kNone) finish(band.rows());
    });
  }

  // A single band; splitting it among workers does not change the result.
  void fitAllFinely() {
    const CoefficientPlanes maps = memory_.coefficients();
    filtered_.count = 1;
    filtered_.bands[0] = {guidedFrame(), maps, nullptr, 0, memory_.layout().refHeight()};
    const Plane<std::int32_t> a = mapOf(maps.rawA);
    const Plane<std::int32_t> b = mapOf(maps.rawB);
    const std::int32_t parts = std::clamp(crew_.size(), 1, kBandCount);
    const std::int32_t partRows = (a.height + parts - 1) / parts;
    std::atomic<bool> isDone{true};
    shareRows(crew_.team(), a.height, partRows, [&](Band rows, int slot) {
      const MMemMgr pool = pools_[static_cast<std::size_t>(slot)];
      const Result fitted = fitFinely(pool, rows, memory_.mapped(), memory_.reference(),
                                      kToneRegularisation, a.data, b.data);
      if (fitted != Result::kOk) isDone = false;
    });
    shareRows(crew_.team(), a.height, partRows, [&](Band rows, int slot) {
      const MMemMgr pool = pools_[static_cast<std::size_t>(slot)];
      if (!isDone || smoothFinely(pool, rows, a, b, maps.smoothA, maps.smoothB) != Result::kOk) {
        isDone = false;
      } else {
        finish(rows);
      }
    });
    filtered_.coefficients[0] = isDone ? smallCoefficients(a.width) : Coefficients::kNone;
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

  void copyStrip(Band rows) const {
    const std::int64_t height = frame_.source.height;
    const std::int64_t top = std::min<std::int64_t>(kUpsampling * std::int64_t{rows.first}, height);
    const std::int64_t bottom =
        std::min<std::int64_t>(kUpsampling * std::int64_t{rows.end}, height);
    copyRows(frame_, 0, top, bottom);
    copyRows(frame_, 1, top / 2, bottom / 2);
  }

  Crew& crew_;
  const FrameMemory& memory_;
  const StreamFrame& frame_;
  std::array<MMemMgr, kMostWorkers> pools_{};
  FilteredBands filtered_;
};

} // namespace

Result renderStreamFrame(Crew& crew, const FrameMemory& memory, const StreamFrame& frame) {
  FrameFilter filter(crew, memory, frame);
  filter.computeAllCoefficients();
  if (crew.takeFailure()) return Result::kNoThread;
  filter.writeRows();
  crew.takeFailure(); // what it left over was done: once rows are written there is no way back
  return Result::kOk;
}

void copyStreamFrame(const StreamFrame& frame) {
  copyRows(frame, 0, 0, frame.source.height);
  copyRows(frame, 1, 0, frame.source.height / 2);
}

std::int64_t filterPoolBytes(std::int32_t refWidth) {
  return std::max(workerPoolBytes(refWidth, kToneRadius),
                  poolOf(poolBlock(fineFitScratchBytes(refWidth))));
}

} // namespace tlux::detail

// The fast guided filter: windows of 2r × 2r, edges repeated.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/result.hpp"
#include "guided_upsampling/filter_block.hpp"
#include "guided_upsampling/strips.hpp"
#include "platform/scratch.hpp"
#include "platform/worker_team.hpp"

// A frame is filtered in two shares of work: the coefficients of its four bands, then strips of the
// full-resolution rows. The caller decides what happens to a row: FastGuideFilterMT() stores it,
// MultiThreadGuideTone() interprets it as a change of luma, a run continues with its chroma.
namespace tlux::detail {

// Calls work(strip) for all strips of the first `bandCount` bands of a frame.
template <class Work>
Result filterInStrips(MMemMgr manager, const GuidedFrame& frame, std::int64_t workerBytes,
                      Team& team, int bandCount, Work work) {
  static_assert(WorkerTeam::kSize == kBandCount, "a pool serves a band, then a slot");
  if (frame.width() == 0 || frame.height() == 0) return Result::kOk;
  if (frame.width() < 0 || frame.height() < 0) return Result::kNoMemory;
  const FilterBlock layout(frame.width(), frame.height(), workerBytes);
  const Scratch<std::uint8_t> block(manager, layout.bytes());
  if (!block) return Result::kNoMemory;

  const std::array<MMemMgr, kBandCount> pools = layout.pools(block.get());
  FilteredBands filtered = splitIntoBands(frame, layout.maps(block.get()), pools);
  filtered.count = bandCount;
  team.share(bandCount, [&](std::int64_t index, int /*slot*/) {
    const auto i = static_cast<std::size_t>(index);
    filtered.coefficients[i] = computeCoefficients(filtered.bands[i]);
  });
  forEachStrip(&team, filtered, pools, work);
  return Result::kOk;
}

// The same with threads for this call only. Result codes as FastGuideFilterMT(): if a thread cannot
// be started, only as many bands are done as threads were started.
template <class Work>
Result filterOnThreads(MMemMgr manager, const GuidedFrame& frame, std::int64_t workerBytes,
                       Work work) {
  WorkerTeam team;
  const int bandCount = team.isComplete() ? kBandCount : team.started();
  const Result result = filterInStrips(manager, frame, workerBytes, team, bandCount, work);
  const bool isEmpty = frame.width() == 0 || frame.height() == 0;
  return result == Result::kOk && !isEmpty && !team.isComplete() ? Result::kNoThread : result;
}

} // namespace tlux::detail

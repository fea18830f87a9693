#include "stream/stream.hpp"
#include "base/result.hpp"

#include <algorithm>

#include "image/format.hpp"
#include "platform/pool_need.hpp"
#include "score/log_table.hpp"
#include "score/retinex.hpp"
#include "stream/frame_pair.hpp"
#include "stream/options.hpp"
#include "stream/reference.hpp"
#include "tlux/mark.h"
#include "tlux/transfer.h"
#include "tone/map_reference.hpp"

using namespace tlux::detail;

namespace {

// Reference rows that are mapped at a time.
constexpr std::int32_t kMappedRows = 16;

} // namespace

TLUX_STREAM::TLUX_STREAM(MMemMgr manager, const TLUX_STREAM_OPTIONS& options)
    : manager_(manager), options_(options), crew_(options), memory_(manager) {}

Result TLUX_STREAM::change(const TLUX_STREAM_OPTIONS& options) {
  if (!canChange(options_, options)) return Result::kInvalidParam;
  options_ = options;
  return Result::kOk;
}

void TLUX_STREAM::reset() {
  steadiness_.reset();
}

Result TLUX_STREAM::run(const TLUX_IMAGE& source, const TLUX_IMAGE& output,
                        std::uint32_t strength) {
  if (!isStreamPair(source, output)) return Result::kInvalidParam;
  const StreamFrame frame = {source, output, options_.range == TLUX_RANGE_LIMITED,
                             static_cast<int>(options_.colour), options_.fineWindows != 0};
  const Result result = optimize(frame, strength);
  hasReport_ = result == Result::kOk;
  if (result != Result::kOk) {
    copyStreamFrame(frame);
    return result;
  }
  TLUX_IMAGE marked = output;
  TLUX_EmbeddedMark(&marked);
  return result;
}

Result TLUX_STREAM::optimize(const StreamFrame& frame, std::uint32_t strength) {
  const TLUX_IMAGE& source = frame.source;
  const FrameLayout layout(source.width, source.height, static_cast<std::uint32_t>(crew_.size()));
  Result result = memory_.reserve(layout);
  if (result == Result::kOk) result = crew_.start();
  if (result != Result::kOk) return result;

  fillStreamReference(crew_.team(), lumaOf(source), options_.range, memory_.reference());
  Steadiness steadiness = steadiness_; // kept when the frame is done
  result = scoreReference(steadiness);
  if (result != Result::kOk) return result;
  updateGainTable(strength);
  mapReference();
  if (crew_.takeFailure()) return Result::kNoThread;
  // The filter smooths fine noise even where no tone changes, so such a video is left alone.
  if (strength == 0 && frame.isVideoRange) {
    copyStreamFrame(frame);
  } else {
    result = renderStreamFrame(crew_, memory_, frame);
  }
  if (result == Result::kOk) steadiness_ = steadiness;
  return result;
}

Result TLUX_STREAM::scoreReference(Steadiness& steadiness) {
  const Plane<std::uint8_t> reference = memory_.reference();
  Team* team = crew_.team();
  if (team != nullptr) team = teamFor(*team, memory_.layout().pixels());
  const auto table = logLumaOfCodes(TLUX_Degamma_Table);
  std::int16_t* logLuma = memory_.logLuma();
  const std::int32_t mean = convertSamples(
      reference, packedPlane(logLuma, reference.width, reference.height),
      [&table](std::uint8_t code) { return table[code]; }, team);
  const RetinexFrame frame = {logLuma, memory_.scores(), reference.width, reference.height};
  steadiness.setFrames(options_.steady);
  steadiness.enter(reference.width, reference.height, mean);
  return scoreLogFrame(memory_.scorePool(), frame, steadiness, team);
}

void TLUX_STREAM::updateGainTable(std::uint32_t strength) {
  if (hasTable_ && tableStrength_ == strength) return;
  fillGainTable(gainTable_.data(), strength);
  tableStrength_ = strength;
  hasTable_ = true;
}

void TLUX_STREAM::mapReference() {
  const Plane<std::uint8_t> reference = memory_.reference();
  const Plane<std::uint8_t> mapped = memory_.mapped();
  const ToneTables tables = {{TLUX_Degamma_Table, TLUX_Gamma_Table8}, gainTable_.data()};
  shareRows(crew_.team(), reference.height, kMappedRows, [&](Band part, int /*slot*/) {
    const std::int32_t rows = part.end - part.first;
    tlux::detail::mapReference({reference.row(part.first), reference.width, rows, reference.pitch},
                               memory_.scores() + std::ptrdiff_t{part.first} * reference.width,
                               tables, {mapped.row(part.first), mapped.width, rows, mapped.pitch});
  });
}

// Computed on request, since few callers ask.
void TLUX_STREAM::fillGains() const {
  std::transform(memory_.scores(), memory_.scores() + memory_.layout().pixels(), memory_.gains(),
                 [this](std::uint16_t score) { return gainTable_[score]; });
}

Result TLUX_STREAM::report(TLUX_STREAM_REPORT& report) const {
  if (!hasReport_) return Result::kInvalidParam;
  fillGains();
  const Plane<std::uint8_t> reference = memory_.reference();
  report.width = reference.width;
  report.height = reference.height;
  report.referencePitch = static_cast<std::int32_t>(reference.pitch);
  report.reference = reference.data;
  report.scores = reinterpret_cast<const std::int16_t*>(memory_.scores());
  report.gains = memory_.gains();
  report.mean = steadiness_.mean();
  report.anchor = steadiness_.anchor();
  report.isCut = steadiness_.isCut() ? 1 : 0;
  report.reserved = 0;
  return Result::kOk;
}

namespace tlux::detail {

std::int64_t streamPoolBytes(const TLUX_STREAM_OPTIONS& options, std::int32_t width,
                             std::int32_t height) {
  const FrameLayout layout(width, height, static_cast<std::uint32_t>(Crew(options).size()));
  return poolOf(poolBlock(sizeof(TLUX_STREAM)) + poolBlock(layout.bytes()));
}

} // namespace tlux::detail

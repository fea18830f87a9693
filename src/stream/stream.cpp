#include "stream/stream.hpp"

#include <algorithm>
#include <cstdlib>

#include "platform/pool_need.hpp"
#include "score/log_table.hpp"
#include "score/retinex.hpp"
#include "stream/frame_pair.hpp"
#include "stream/options.hpp"
#include "stream/reference.hpp"
#include "tlux/mark.h"
#include "tlux/transfer.h"
#include "tone/map_reference.hpp"

namespace {

// A change of the mean log luminance by half a stop, 1024 · ln(2) / 2, is a cut: within a scene a
// light that floods less than 7 % of the picture changes it by less, and so does a camera that
// follows the light, in steps of a third of a stop at most.
constexpr std::int32_t kCut = 355;

// Reference rows that are mapped at a time.
constexpr std::int32_t kMappedRows = 16;

} // namespace

using tlux::Plane;

TLUX_STREAM::TLUX_STREAM(MMemMgr manager, const TLUX_STREAM_OPTIONS& options)
    : manager_(manager), options_(options), crew_(options), memory_(manager) {}

bool TLUX_STREAM::change(const TLUX_STREAM_OPTIONS& options) {
  if (!tlux::canChange(options_, options)) return false;
  options_ = options;
  return true;
}

void TLUX_STREAM::reset() {
  hasMean_ = false;
}

std::uint32_t TLUX_STREAM::run(const TLUX_IMAGE& source, const TLUX_IMAGE& output,
                               std::uint32_t strength) {
  if (!tlux::isStreamPair(source, output)) return TLUX_ERR_INVALID_PARAM;
  const tlux::StreamFrame frame = {source, output, options_.range == TLUX_RANGE_LIMITED,
                                   static_cast<int>(options_.colour)};
  const std::uint32_t result = optimize(frame, strength);
  hasReport_ = result == TLUX_OK;
  if (result != TLUX_OK) {
    tlux::copyStreamFrame(frame);
    return result;
  }
  TLUX_IMAGE marked = output;
  TLUX_EmbeddedMark(&marked);
  return result;
}

std::uint32_t TLUX_STREAM::optimize(const tlux::StreamFrame& frame, std::uint32_t strength) {
  const TLUX_IMAGE& source = frame.source;
  const tlux::FrameLayout layout(source.width, source.height,
                                 static_cast<std::uint32_t>(crew_.size()));
  if (!memory_.reserve(layout)) return TLUX_ERR_NO_MEMORY;
  if (!crew_.start()) return TLUX_ERR_THREAD;

  const Plane<const std::uint8_t> luma = {source.plane[0], source.width, source.height,
                                          source.pitch[0]};
  if (!tlux::fillStreamReference(crew_, luma, options_.range, memory_.reference())) {
    return TLUX_ERR_THREAD;
  }
  if (!scoreReference()) return TLUX_ERR_NO_MEMORY;
  updateGainTable(strength);
  // The filter smooths fine noise even where no tone changes: a video is then better left alone.
  if (strength == 0 && frame.isVideoRange) {
    tlux::copyStreamFrame(frame);
    return TLUX_OK;
  }
  if (!mapReference() || !tlux::renderStreamFrame(crew_, memory_, frame)) return TLUX_ERR_THREAD;
  return TLUX_OK;
}

bool TLUX_STREAM::scoreReference() {
  const Plane<std::uint8_t> reference = memory_.reference();
  const auto table = tlux::logLumaOfCodes(TLUX_Degamma_Table);
  std::int16_t* logLuma = memory_.logLuma();
  const std::int32_t mean =
      tlux::convertSamples(reference, tlux::packedPlane(logLuma, reference.width, reference.height),
                           [&table](std::uint8_t code) { return table[code]; });
  const tlux::RetinexFrame frame = {logLuma, memory_.scores(), reference.width, reference.height};
  if (tlux::scoreLogFrame(memory_.scorePool(), frame, mean, nullptr) != TLUX_OK) return false;
  isCut_ = !hasMean_ || std::abs(mean - mean_) > kCut;
  anchor_ = tlux::anchorOf(mean);
  mean_ = mean;
  hasMean_ = true;
  return true;
}

void TLUX_STREAM::updateGainTable(std::uint32_t strength) {
  if (hasTable_ && tableStrength_ == strength) return;
  tlux::fillGainTable(gainTable_.data(), strength);
  tableStrength_ = strength;
  hasTable_ = true;
}

bool TLUX_STREAM::mapReference() {
  const Plane<std::uint8_t> reference = memory_.reference();
  const Plane<std::uint8_t> mapped = memory_.mapped();
  const tlux::ToneTables tables = {TLUX_Degamma_Table, TLUX_Gamma_Table8, gainTable_.data()};
  const std::int64_t parts = (std::int64_t{reference.height} + kMappedRows - 1) / kMappedRows;
  return crew_.share(parts, [&](std::int64_t i, int /*slot*/) {
    const auto first = static_cast<std::int32_t>(i * kMappedRows);
    const std::int32_t rows = std::min(kMappedRows, reference.height - first);
    tlux::mapReference({reference.row(first), reference.width, rows, reference.pitch},
                       memory_.scores() + std::ptrdiff_t{first} * reference.width, tables,
                       {mapped.row(first), mapped.width, rows, mapped.pitch});
  });
}

// When asked for, since few callers ask.
void TLUX_STREAM::fillGains() const {
  std::transform(memory_.scores(), memory_.scores() + memory_.layout().pixels(), memory_.gains(),
                 [this](std::uint16_t score) { return gainTable_[score]; });
}

bool TLUX_STREAM::report(TLUX_STREAM_REPORT& report) const {
  if (!hasReport_) return false;
  fillGains();
  const Plane<std::uint8_t> reference = memory_.reference();
  report.width = reference.width;
  report.height = reference.height;
  report.referencePitch = static_cast<std::int32_t>(reference.pitch);
  report.reference = reference.data;
  report.scores = reinterpret_cast<const std::int16_t*>(memory_.scores());
  report.gains = memory_.gains();
  report.mean = mean_;
  report.anchor = anchor_;
  report.isCut = isCut_ ? 1 : 0;
  report.reserved = 0;
  return true;
}

namespace tlux {

std::int64_t streamPoolBytes(const TLUX_STREAM_OPTIONS& options, std::int32_t width,
                             std::int32_t height) {
  const FrameLayout layout(width, height, static_cast<std::uint32_t>(Crew(options).size()));
  return poolOf(poolBlock(sizeof(TLUX_STREAM)) + poolBlock(layout.bytes()));
}

} // namespace tlux

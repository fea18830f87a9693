#include <algorithm>

#include "base/plane.hpp"
#include "gain/gain_lines.hpp"
#include "gain/line_tone.hpp"
#include "image/format.hpp"
#include "tlux/gain_lines.h"

namespace tlux::detail {
namespace {

bool isUsable(const TLUX_MAPPING_STATE& state) {
  return state.gains != nullptr && state.degamma != nullptr && state.gamma != nullptr &&
         state.mapping != nullptr && state.gainWidth > 0 && state.gainHeight > 0;
}

bool isUsable(const TLUX_IMAGE& frame) {
  return hasSemiPlanes(frame, frame.width, frame.width / 2 * 2);
}

// A row inside a cell is interpolated towards the next coarse row.
std::int32_t coarseRowOf(std::int32_t y, std::int32_t gainHeight) {
  return std::min(y / kLineOf8.step + (y % kLineOf8.step == 0 ? 0 : 1), gainHeight - 1);
}

// Row y of the frame in groups of four pixels, as far as the planes reach.
ToneLine lineOf(const TLUX_IMAGE& frame, std::int32_t y) {
  const std::int64_t rounded = (std::int64_t{frame.width} + 3) & ~std::int64_t{3};
  const std::int64_t pixels = std::min<std::int64_t>(rounded, frame.pitch[0]);
  const bool hasChroma = y % 2 == 0 && y / 2 < frame.height / 2;
  const std::int64_t pairs = hasChroma ? std::min<std::int64_t>(pixels / 2, frame.pitch[1] / 2) : 0;
  return {frame.plane[0] + std::int64_t{y} * frame.pitch[0], pixels,
          frame.plane[1] + std::int64_t{y / 2} * frame.pitch[1], pairs};
}

void mapRows(const TLUX_IMAGE& frame, const TLUX_MAPPING_STATE& state, std::int32_t first,
             std::int32_t end) {
  const auto coarse = packedPlane(state.gains, state.gainWidth, state.gainHeight);
  const std::int32_t count = std::min(coarseCount(kLineOf8, frame.width), state.gainWidth);
  for (std::int32_t y = first; y < end; ++y) {
    const std::uint16_t* gains = coarse.row(coarseRowOf(y, state.gainHeight));
    expandGainLine<kLineOf8>(y - first, frame.width, {gains, count, state.mapping, {}},
                             state.lineBuffer);
    toneLine(lineOf(frame, y), state.lineBuffer, {state.degamma, state.gamma});
  }
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t SingleThreadMapping(const TLUX_MAPPING_CONTEXT* context) noexcept {
  if (context == nullptr || context->state == nullptr) return TLUX_ERR_INVALID_PARAM;
  if (context->state->lineBuffer == nullptr) return TLUX_ERR_NO_MEMORY;
  if (context->frame == nullptr || context->firstRow < 0) return TLUX_ERR_INVALID_PARAM;
  const TLUX_IMAGE& frame = *context->frame;
  const int32_t end = std::min(context->endRow, frame.height);
  if (context->firstRow >= end || frame.width < 1) return TLUX_OK;
  if (!isUsable(*context->state) || !isUsable(frame)) return TLUX_ERR_INVALID_PARAM;
  mapRows(frame, *context->state, context->firstRow, end);
  return TLUX_OK;
}

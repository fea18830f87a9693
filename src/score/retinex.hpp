#pragma once

#include <array>
#include <cstdint>

#include "base/result.hpp"
#include "platform/team.hpp"
#include "score/steadiness.hpp"
#include "tlux/base.h"

namespace tlux::detail {

// Linear light, replaced by log luminance, and the scores made of it; packed, of one size.
struct RetinexFrame {
  std::int16_t* logLuma;
  std::uint16_t* scores;
  std::int32_t width;
  std::int32_t height;
};

// `workBuffer` holds 5 bytes a pixel; null: all memory is allocated. Returns a result code.
Result scoreFrame(MMemMgr manager, void* workBuffer, const RetinexFrame& frame);

// The same for a frame that holds log luminance with this mean; `team` shares the work or is null.
Result scoreLogFrame(MMemMgr manager, const RetinexFrame& frame, std::int32_t mean, Team* team);

// The same for a frame that follows others, whose mean was entered.
Result scoreLogFrame(MMemMgr manager, const RetinexFrame& frame, Steadiness& steadiness,
                     Team* team);

// The reference value for log luminance of this mean.
std::int32_t anchorOf(std::int32_t mean);

// Log luminance of every code, derived from its linear light.
std::array<std::int16_t, 256> logLumaOfCodes(const std::uint16_t* degamma);

// What scoreFrame() without a work buffer takes out of a pool.
std::int64_t scorePoolBytes(std::int32_t width, std::int32_t height);

} // namespace tlux::detail

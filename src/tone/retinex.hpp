#pragma once

#include <cstdint>

#include "tlux/base.h"

namespace tlux {

// Linear light, replaced by log luminance, and the scores made of it; packed, of one size.
struct RetinexFrame {
  std::int16_t* logLuma;
  std::uint16_t* scores;
  std::int32_t width;
  std::int32_t height;
};

// `workBuffer` holds 5 bytes a pixel; null: everything is allocated. Returns a result code.
std::uint32_t scoreFrame(MMemMgr manager, void* workBuffer, const RetinexFrame& frame);

// What scoreFrame() without a work buffer takes out of a pool.
std::int64_t scorePoolBytes(std::int32_t width, std::int32_t height);

} // namespace tlux

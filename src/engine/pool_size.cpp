#include "engine/reference_frame.hpp"
#include "platform/pool_need.hpp"
#include "tlux/engine.h"

namespace tlux::detail {
namespace {

std::int64_t enginePoolBytes(std::int32_t width, std::int32_t height) {
  return poolOf(poolBlock(sizeof(TLUX_ENGINE)) + runPoolBytes(width, height));
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint64_t TLUX_GetPoolSize(int32_t width, int32_t height) noexcept {
  if (width < 0 || height < 0 || width % 2 != 0 || height % 2 != 0) return 0;
  const std::int64_t bytes = enginePoolBytes(width, height);
  return bytes < kNoPool ? static_cast<uint64_t>(bytes) : 0;
}

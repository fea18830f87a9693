#pragma once

#include <cstdint>

#include "tlux/base.h"
#include "tlux/fast_guided_filter.h"

namespace tlux::detail {

// The outcome of a step that can fail. The values are the result codes of the interface. Declared
// apart, since clang-format 14 takes a body behind an attribute for an initializer.
enum class [[nodiscard]] Result : std::uint32_t;

enum class Result : std::uint32_t {
  kOk = TLUX_OK,
  kUnsolvable = TLUX_GUIDE_UNSOLVABLE,
  kInvalidParam = TLUX_ERR_INVALID_PARAM,
  kUnsupported = TLUX_ERR_UNSUPPORTED,
  kNoMemory = TLUX_ERR_NO_MEMORY,
  kNoThread = TLUX_ERR_THREAD,
};

// What an exported function returns.
constexpr std::uint32_t codeOf(Result result) {
  return static_cast<std::uint32_t>(result);
}

// The outcome of an exported function that the library itself called.
constexpr Result resultOf(std::uint32_t code) {
  return static_cast<Result>(code);
}

} // namespace tlux::detail

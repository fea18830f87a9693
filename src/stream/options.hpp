#pragma once

#include <cstdint>

#include "base/result.hpp"
#include "tlux/stream.h"

namespace tlux::detail {

inline constexpr std::uint32_t kMostWorkers = 64;
inline constexpr std::uint32_t kMostSteady = 1000;
inline constexpr std::uint32_t kFullColour = 100; // per cent

// The preset for `tones`, which must be one of TLUX_TONES_*.
TLUX_STREAM_OPTIONS optionsFor(std::uint32_t tones);

// Copies the caller's record; null means the natural preset. False for a size that no version had
// (nothing else is then read) and for a field out of range.
Result readOptions(const TLUX_STREAM_OPTIONS* given, TLUX_STREAM_OPTIONS& options);

// Whether a stream opened with `from` can continue with `to`, both valid.
bool canChange(const TLUX_STREAM_OPTIONS& from, const TLUX_STREAM_OPTIONS& to);

// How many threads or parts work on a frame, 1 to kMostWorkers.
std::uint32_t workersOf(const TLUX_STREAM_OPTIONS& options);

} // namespace tlux::detail

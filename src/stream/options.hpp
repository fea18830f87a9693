#pragma once

#include <cstdint>

#include "base/result.hpp"
#include "tlux/stream.h"

namespace tlux::detail {

inline constexpr std::uint32_t kMostWorkers = 64;
inline constexpr std::uint32_t kMostSteady = 1000;
inline constexpr std::uint32_t kFullColour = 100; // per cent

// The starting point of that name, which must be one of TLUX_TONES_*.
TLUX_STREAM_OPTIONS optionsFor(std::uint32_t tones);

// Copies a record of the caller's, null standing for the natural starting point. Invalid for a size
// that no version had, of which nothing else is read, and for a field out of range.
Result readOptions(const TLUX_STREAM_OPTIONS* given, TLUX_STREAM_OPTIONS& options);

// Whether a stream that was opened with `from` can go on with `to`, both valid.
bool canChange(const TLUX_STREAM_OPTIONS& from, const TLUX_STREAM_OPTIONS& to);

// How many threads or parts work on a frame, 1 to kMostWorkers.
std::uint32_t workersOf(const TLUX_STREAM_OPTIONS& options);

} // namespace tlux::detail

#include "stream/options.hpp"

#include <unistd.h>

#include <algorithm>

#if defined(__linux__)
#include <sched.h>
#endif

namespace tlux::detail {
namespace {

// More threads hardly speed up a frame: its smallest steps cannot be divided further.
constexpr std::uint32_t kDefaultThreads = 4;

// A quarter of a second of video. A lamp that covers 2 % of the picture moves the far half by less
// than 0.7 codes in the first frame, and nothing visible is left to move after 24.
constexpr std::uint32_t kNaturalSteady = 8;

// At strength 50 the mean C* of photographs (CIE 1976) grows by 7 %, and fewer of their pixels are
// clipped in a channel than before; at 100 % it grows by 19 %, and in saturated scenes every third
// pixel is clipped. At 30 the colours are no stronger than in the original, and lifted shadows look
// grey.
constexpr std::uint32_t kNaturalColour = 50;

// Processors that this process may use, or all processors where that is unknown.
std::uint32_t usableProcessors() {
#if defined(__linux__)
  cpu_set_t processors;
  CPU_ZERO(&processors);
  if (sched_getaffinity(0, sizeof processors, &processors) == 0) {
    return static_cast<std::uint32_t>(std::max(CPU_COUNT(&processors), 1));
  }
#endif
  return static_cast<std::uint32_t>(std::max(sysconf(_SC_NPROCESSORS_ONLN), 1L));
}

bool areInRange(const TLUX_STREAM_OPTIONS& options) {
  const bool hasWorkers = options.workers >= 1 && options.workers <= kMostWorkers;
  return options.range <= TLUX_RANGE_LIMITED && options.steady <= kMostSteady &&
         options.colour <= kFullColour && options.fineWindows <= 1 &&
         options.threads <= kMostWorkers && (options.parallelFor == nullptr || hasWorkers) &&
         options.reserved == 0;
}

} // namespace

TLUX_STREAM_OPTIONS optionsFor(std::uint32_t tones) {
  TLUX_STREAM_OPTIONS options = {};
  options.size = sizeof options;
  options.range = TLUX_RANGE_FULL;
  options.colour = kFullColour;
  options.workers = kDefaultThreads;
  if (tones == TLUX_TONES_NATURAL) {
    options.steady = kNaturalSteady;
    options.colour = kNaturalColour;
    options.fineWindows = 1;
  }
  return options;
}

Result readOptions(const TLUX_STREAM_OPTIONS* given, TLUX_STREAM_OPTIONS& options) {
  if (given == nullptr) {
    options = optionsFor(TLUX_TONES_NATURAL);
    return Result::kOk;
  }
  if (given->size != sizeof *given) return Result::kInvalidParam;
  options = *given;
  return areInRange(options) ? Result::kOk : Result::kInvalidParam;
}

bool canChange(const TLUX_STREAM_OPTIONS& from, const TLUX_STREAM_OPTIONS& to) {
  return from.threads == to.threads && from.parallelFor == to.parallelFor &&
         from.parallelContext == to.parallelContext && from.workers == to.workers;
}

std::uint32_t workersOf(const TLUX_STREAM_OPTIONS& options) {
  if (options.parallelFor != nullptr) return options.workers;
  if (options.threads != 0) return options.threads;
  return std::min(usableProcessors(), kDefaultThreads);
}

} // namespace tlux::detail

#include <algorithm>
#include <array>

#include "base/fixed_point.hpp"
#include "base/result.hpp"
#include "enhance/histogram.hpp"
#include "platform/scratch.hpp"
#include "tlux/histogram_match.h"

namespace tlux::detail {
namespace {

constexpr int kLastLevel = 255;
constexpr int kDeciles = 10;
constexpr int kDarkestKnot = 3; // a knot at or below this is too close to black to define a slope

// Levels of the deciles, with 0 and 255 at the ends.
using Knots = std::array<std::int32_t, kDeciles + 1>;

Knots findDeciles(const std::uint32_t* histogram, std::int64_t pixels) {
  Knots knots{};
  knots[kDeciles] = kLastLevel;
  std::int64_t sum = 0;
  int level = -1;
  for (int k = 1; k < kDeciles; ++k) {
    const std::int64_t share = k * pixels / kDeciles;
    bool reached = false;
    while (!reached && level < kLastLevel) {
      ++level;
      sum += histogram[level];
      reached = sum >= share;
    }
    knots[k] = level; // 255 once all pixels are counted
  }
  return knots;
}

struct MatchTable {
  Knots source;
  Knots target;
  std::uint8_t* entries;

  void build() {
    for (int segment = 0; segment < kDeciles; ++segment) {
      fillSegment(segment);
    }
    entries[kLastLevel] = static_cast<std::uint8_t>(target[kDeciles]);
    if (target[1] > source[1] && source[1] < source[2]) {
      if (source[2] > kDarkestKnot) {
        extendSegmentDown();
      } else {
        bendDarkEnd();
      }
    }
    if (target[9] < source[9] && source[9] > source[8]) bendBrightEnd();
  }

 private:
  void fillSegment(int i) {
    for (std::int32_t x = source[i]; x < source[i + 1]; ++x) {
      const std::int32_t rise = target[i + 1] - target[i];
      entries[x] = static_cast<std::uint8_t>(target[i] +
                                             (x - source[i]) * rise / (source[i + 1] - source[i]));
    }
  }

  // The line of segment 1, extended below its start.
  void extendSegmentDown() {
    for (std::int32_t x = 0; x < source[1]; ++x) {
      const std::int32_t drop = (source[1] - x) * (target[2] - target[1]) / (source[2] - source[1]);
      entries[x] = clampToByte(target[1] - drop);
    }
  }

  // A line through knot k with the mean of the slopes on either side.
  struct MeanSlope {
    std::int32_t rise;
    std::int32_t run; // 0: a flat line

    std::int32_t times(std::int32_t distance) const { return run == 0 ? 0 : distance * rise / run; }
  };

  MeanSlope slopeAt(int k) const {
    const std::int32_t left = source[k] - source[k - 1];
    const std::int32_t right = source[k + 1] - source[k];
    const std::int32_t rise =
        right * (target[k] - target[k - 1]) + left * (target[k + 1] - target[k]);
    return {rise, 2 * left * right};
  }

  void bendDarkEnd() {
    // Deciles are at least one level apart, so one of them is bright enough.
    int k = 3;
    while (source[k] <= kDarkestKnot) {
      ++k;
    }
    const MeanSlope slope = slopeAt(k);
    for (std::int32_t x = 0; x < source[k]; ++x) {
      entries[x] = clampToByte(target[k] - slope.times(source[k] - x));
    }
  }

  void bendBrightEnd() {
    const MeanSlope slope = slopeAt(9);
    for (std::int32_t x = source[9]; x < kLastLevel; ++x) {
      entries[x] = clampToByte(target[9] + slope.times(x - source[9]));
    }
  }
};

bool isReadable(const TLUX_IMAGE* image) {
  return image != nullptr && image->plane[0] != nullptr;
}

Result buildMatchTable(MMemMgr manager, const TLUX_IMAGE& target, const TLUX_IMAGE& source,
                       std::uint8_t* table) {
  const Scratch<std::uint32_t> histograms(manager, 2 * kSampleLevels);
  if (!histograms) return Result::kNoMemory;
  std::uint32_t* ofSource = histograms.get();
  std::uint32_t* ofTarget = ofSource + kSampleLevels;
  std::fill_n(ofSource, 2 * kSampleLevels, 0u);
  addToHistogram(lumaOf(source), {0, 0, source.width, source.height}, ofSource);
  addToHistogram(lumaOf(target), {0, 0, target.width, target.height}, ofTarget);

  const bool isEmpty = source.width < 1 || source.height < 1;
  const std::int64_t pixels = isEmpty ? 0 : std::int64_t{source.width} * source.height;
  MatchTable{findDeciles(ofSource, pixels), findDeciles(ofTarget, pixels), table}.build();
  return Result::kOk;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_GetMatchTable(MMemMgr manager, const TLUX_IMAGE* target, const TLUX_IMAGE* source,
                            uint8_t* table) noexcept {
  if (!isReadable(target) || !isReadable(source) || table == nullptr) {
    return TLUX_ERR_INVALID_PARAM;
  }
  return codeOf(buildMatchTable(manager, *target, *source, table));
}

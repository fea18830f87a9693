#pragma once

#include <cstdint>

#include "base/plane.hpp"
#include "platform/team.hpp"
#include "score/mean.hpp"
#include "score/steadiness.hpp"
#include "tlux/base.h"

namespace tlux::detail {

// One halved level of the pyramid.
struct AmePyramidLevel {
  std::int16_t* data; // in the scratch of the call, width × height samples
  std::int32_t width;
  std::int32_t height;
  std::int32_t live;       // 1: tells a record from stale memory when a pool is inspected
  double mean;             // before rounding
  AmePyramidLevel* larger; // null for the first level, whose larger neighbour is the source
};

struct PyramidScratch {
  std::int16_t* data;
  std::int64_t samples;
};

// What a Pyramid takes out of a pool.
std::int64_t pyramidPoolBytes(std::int32_t width, std::int32_t height);

enum class PyramidOutcome {
  kDone,
  kNoLevel,   // the source is one row or one column: the output is unchanged
  kNoScratch, // likewise, because the scratch is too small
  kNoMemory,  // likewise, because a record could not be allocated
};

// Smooths a plane over all scales. Its levels, from the largest to the smallest, are stacked in the
// scratch. Their records are always released.
//
// Rounding moves the means of the levels off that of the source. They are scaled back to it, which
// near zero is a ratio of rounding noise, unless `followed` is given: then they stay as they are,
// and the coarsest follow those of earlier frames.
class Pyramid {
 public:
  // `mean` is the mean of the source's row means.
  Pyramid(MMemMgr manager, Plane<const std::int16_t> source, std::int32_t mean,
          PyramidScratch scratch, FollowedLevels* followed = nullptr)
      : manager_(manager), source_(source), mean_(mean), followed_(followed), free_(scratch) {}
  Pyramid(const Pyramid&) = delete;
  Pyramid& operator=(const Pyramid&) = delete;
  ~Pyramid();

  // Writes the smoothed source, or what is read as if it were of the output's size. The output may
  // be the source. With a team, rows of large levels are shared where the scratch allows it.
  // `statistics` receives those of the largest level that is at most 200 wide; null: not wanted.
  // Calls made(rows), from several threads at a time, when rows of the output are made.
  template <class Made>
  PyramidOutcome smooth(Plane<std::int16_t> output, MeanAndRange* statistics, Team* team,
                        Made made) {
    PyramidOutcome outcome = build(statistics, team);
    if (outcome == PyramidOutcome::kDone) outcome = collapse(team);
    if (outcome != PyramidOutcome::kDone) return outcome;
    const Blend last = {packedPlane(source_.data, output.width, output.height), output, 1 - share_,
                        share_};
    forEachPart(last, team, made);
    return outcome;
  }

 private:
  // Of the smallest level, doubled, with a larger one.
  struct Blend {
    Plane<const std::int16_t> large;
    Plane<std::int16_t> output;
    double enlargedWeight;
    double largeWeight;
  };

  PyramidOutcome build(MeanAndRange* statistics, Team* team);
  PyramidOutcome add(std::int32_t width, std::int32_t height, Team* team);
  // Leaves the first level alone, smoothed.
  PyramidOutcome collapse(Team* team);
  void drop();
  double matched(double weight, const AmePyramidLevel& level) const;
  void followEarlierFrames();
  void scaleSmallestToMean();
  // The team where it can share a blend, otherwise null.
  Team* sharing(const Blend& blend, Team* team) const;
  // Rows of a blend that one thread makes at a time.
  static std::int32_t partRows(const Blend& blend, const Team* team);
  void make(const Blend& blend, Band rows, int slot);

  template <class Made>
  void forEachPart(const Blend& blend, Team* team, Made made) {
    Team* const helpers = sharing(blend, team);
    shareRows(helpers, blend.output.height, partRows(blend, helpers), [&](Band rows, int slot) {
      make(blend, rows, slot);
      made(rows);
    });
  }

  MMemMgr manager_;
  Plane<const std::int16_t> source_;
  std::int32_t mean_;
  FollowedLevels* followed_;
  PyramidScratch free_;
  AmePyramidLevel* smallest_ = nullptr;
  double share_ = 0; // of its own content that the next level to be blended keeps
};

} // namespace tlux::detail

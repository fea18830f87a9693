#include "score/pyramid.hpp"

#include "base/fixed_point.hpp"
#include "platform/pool_need.hpp"
#include "platform/scratch.hpp"
#include "score/downscale.hpp"
#include "score/smooth_double_blend.hpp"
#include "tlux/statistics.h"

namespace tlux::detail {
namespace {

constexpr double kBlendStart = 0.9; // share of its own content kept by the second smallest level
constexpr double kBlendDecay = 0.65;
constexpr std::int32_t kMeasuredWidth = 200;

Plane<std::int16_t> planeOf(const AmePyramidLevel& level) {
  return packedPlane(level.data, level.width, level.height);
}

// The levels from the largest to the smallest, stacked in the scratch. The destructor releases
// their records on every path.
class Pyramid {
 public:
  Pyramid(MMemMgr manager, Plane<const std::int16_t> source, PyramidScratch scratch,
          FollowedLevels* followed)
      : manager_(manager),
        source_(source),
        mean_(meanOf(source)),
        followed_(followed),
        free_(scratch) {}
  Pyramid(const Pyramid&) = delete;
  Pyramid& operator=(const Pyramid&) = delete;
  ~Pyramid() {
    while (smallest_ != nullptr) {
      drop();
    }
  }

  PyramidOutcome build(MeanAndRange* statistics);
  PyramidOutcome collapse(Plane<std::int16_t> output, Team* team);

 private:
  PyramidOutcome add(std::int32_t width, std::int32_t height);
  void drop();
  // Of a weight · mean_ / level.mean, left to right.
  double matched(double weight, const AmePyramidLevel& level) const {
    return followed_ == nullptr ? weight * mean_ / level.mean : weight;
  }
  void followEarlierFrames();
  void scaleSmallestToMean();
  void blendIntoOutput(Plane<std::int16_t> output, double share, Team* team);

  MMemMgr manager_;
  Plane<const std::int16_t> source_;
  std::int32_t mean_; // of the source
  FollowedLevels* followed_;
  PyramidScratch free_;
  AmePyramidLevel* smallest_ = nullptr;
};

PyramidOutcome Pyramid::add(std::int32_t width, std::int32_t height) {
  auto* level = static_cast<AmePyramidLevel*>(allocateBytes(manager_, sizeof(AmePyramidLevel)));
  if (level == nullptr) return PyramidOutcome::kNoMemory;
  const std::int64_t samples = std::int64_t{width} * height;
  if (free_.samples < samples) {
    MMemFree(manager_, level);
    return PyramidOutcome::kNoScratch;
  }
  *level = {free_.data, width, height, 1, 0.0, smallest_};
  free_ = {free_.data + samples, free_.samples - samples};
  const Plane<const std::int16_t> larger =
      smallest_ == nullptr ? source_ : Plane<const std::int16_t>(planeOf(*smallest_));
  level->mean = downscale2x2(larger, planeOf(*level));
  smallest_ = level;
  return PyramidOutcome::kDone;
}

// Levels are dropped in reverse order of creation, so each one's samples are last on the stack.
void Pyramid::drop() {
  AmePyramidLevel* level = smallest_;
  smallest_ = level->larger;
  free_ = {level->data, free_.samples + std::int64_t{level->width} * level->height};
  MMemFree(manager_, level);
}

std::int32_t halved(std::int32_t side) {
  return side / 2 + side % 2;
}

bool hasSmallerLevel(std::int32_t width, std::int32_t height) {
  return width > 1 && height > 1;
}

PyramidOutcome Pyramid::build(MeanAndRange* statistics) {
  bool measured = statistics == nullptr;
  std::int32_t width = source_.width;
  std::int32_t height = source_.height;
  while (hasSmallerLevel(width, height)) {
    width = halved(width);
    height = halved(height);
    const PyramidOutcome outcome = add(width, height);
    if (outcome != PyramidOutcome::kDone) return outcome;
    if (!measured && width <= kMeasuredWidth) {
      *statistics = meanAndRangeOf(planeOf(*smallest_));
      measured = true;
    }
  }
  return smallest_ == nullptr ? PyramidOutcome::kNoLevel : PyramidOutcome::kDone;
}

void Pyramid::followEarlierFrames() {
  for (AmePyramidLevel* level = smallest_; level != nullptr; level = level->larger) {
    followed_->follow(planeOf(*level));
  }
}

void Pyramid::scaleSmallestToMean() {
  const double factor = mean_ / smallest_->mean;
  const std::int64_t samples = std::int64_t{smallest_->width} * smallest_->height;
  for (std::int64_t i = 0; i < samples; ++i) {
    std::int16_t& sample = smallest_->data[i];
    sample = static_cast<std::int16_t>(saturatingTrunc<std::int32_t>(sample * factor + 0.5));
  }
}

// The source has the size of the output, or is read as if it had.
void Pyramid::blendIntoOutput(Plane<std::int16_t> output, double share, Team* team) {
  constexpr std::int32_t kPartRows = 32;
  const std::int64_t scratch = smoothDoubleScratch(smallest_->width);
  const bool isShared = team != nullptr && free_.samples >= team->size() * scratch;
  const auto source = packedPlane(source_.data, output.width, output.height);
  shareRows(isShared ? team : nullptr, output.height, kPartRows, [&](Band rows, int slot) {
    smoothDoubleBlend(planeOf(*smallest_), source, output, rows, free_.data + slot * scratch,
                      1 - share, share);
  });
}

PyramidOutcome Pyramid::collapse(Plane<std::int16_t> output, Team* team) {
  if (followed_ != nullptr) {
    followEarlierFrames();
  } else {
    scaleSmallestToMean();
  }
  for (double decay = 1; smallest_ != nullptr; decay *= kBlendDecay, drop()) {
    if (free_.samples < smoothDoubleScratch(smallest_->width)) return PyramidOutcome::kNoScratch;
    const double share = kBlendStart * decay;
    if (AmePyramidLevel* larger = smallest_->larger; larger != nullptr) {
      const Plane<std::int16_t> plane = planeOf(*larger);
      smoothDoubleBlend(planeOf(*smallest_), plane, plane, {0, plane.height}, free_.data, 1 - share,
                        matched(share, *larger));
    } else {
      blendIntoOutput(output, share, team);
    }
  }
  return PyramidOutcome::kDone;
}

} // namespace

std::int64_t pyramidPoolBytes(std::int32_t width, std::int32_t height) {
  std::int64_t records = 0;
  for (; hasSmallerLevel(width, height); width = halved(width), height = halved(height)) {
    records += poolBlock(sizeof(AmePyramidLevel));
  }
  return records;
}

PyramidOutcome smoothPyramid(MMemMgr manager, Plane<const std::int16_t> source,
                             Plane<std::int16_t> output, PyramidScratch scratch,
                             MeanAndRange* statistics, Team* team, FollowedLevels* followed) {
  Pyramid pyramid(manager, source, scratch, followed);
  MeanAndRange measured{0, 0, 0};
  PyramidOutcome outcome = pyramid.build(statistics == nullptr ? nullptr : &measured);
  if (outcome == PyramidOutcome::kDone) outcome = pyramid.collapse(output, team);
  const bool finished = outcome == PyramidOutcome::kDone || outcome == PyramidOutcome::kNoLevel;
  if (finished && statistics != nullptr) *statistics = measured;
  return outcome;
}

} // namespace tlux::detail

using namespace tlux::detail;

const double PF_BLEND_START = kBlendStart;
const double PF_BLEND_DIV = kBlendDecay;
const int32_t SDB_TEMP_ADD_COLS = kRowPadding;
const double PF_EXP_LIMIT = 1.0;
const int32_t PF_ISO_LIMIT = 400;

void AME_PyramidFilter(MMemMgr manager, uint32_t statistics[3], const int16_t* source,
                       int32_t width, int32_t height, int16_t* output, int32_t outputWidth,
                       int32_t outputHeight, int16_t* scratch, int32_t scratchLength) noexcept {
  if (source == nullptr || output == nullptr || scratch == nullptr) return;
  if (width < 1 || height < 1 || outputWidth < 1 || outputHeight < 1) return;
  if (int64_t{outputWidth} * outputHeight > int64_t{width} * height) return;

  MeanAndRange measured{0, 0, 0};
  const PyramidOutcome outcome = smoothPyramid(manager, packedPlane(source, width, height),
                                               packedPlane(output, outputWidth, outputHeight),
                                               {scratch, scratchLength}, &measured, nullptr);
  const bool finished = outcome == PyramidOutcome::kDone || outcome == PyramidOutcome::kNoLevel;
  if (!finished || statistics == nullptr) return;
  statistics[0] = static_cast<uint32_t>(measured.mean);
  statistics[1] = static_cast<uint32_t>(measured.minimum);
  statistics[2] = static_cast<uint32_t>(measured.maximum);
}

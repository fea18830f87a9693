#include "score/pyramid.hpp"

#include <algorithm>

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

std::int32_t halved(std::int32_t side) {
  return side / 2 + side % 2;
}

bool hasSmallerLevel(std::int32_t width, std::int32_t height) {
  return width > 1 && height > 1;
}

// The team where a level is large enough to be shared, otherwise null.
Team* largeEnough(std::int64_t samples, Team* team) {
  return team == nullptr ? nullptr : teamFor(*team, samples);
}

} // namespace

Pyramid::~Pyramid() {
  while (smallest_ != nullptr) {
    drop();
  }
}

PyramidOutcome Pyramid::add(std::int32_t width, std::int32_t height, Team* team) {
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
  level->mean = downscale2x2(larger, planeOf(*level), largeEnough(samples, team));
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

PyramidOutcome Pyramid::build(MeanAndRange* statistics, Team* team) {
  bool measured = statistics == nullptr;
  std::int32_t width = source_.width;
  std::int32_t height = source_.height;
  while (hasSmallerLevel(width, height)) {
    width = halved(width);
    height = halved(height);
    const PyramidOutcome outcome = add(width, height, team);
    if (outcome != PyramidOutcome::kDone) return outcome;
    if (!measured && width <= kMeasuredWidth) {
      *statistics = meanAndRangeOf(planeOf(*smallest_));
      measured = true;
    }
  }
  return smallest_ == nullptr ? PyramidOutcome::kNoLevel : PyramidOutcome::kDone;
}

// Of a weight · mean_ / level.mean, left to right.
double Pyramid::matched(double weight, const AmePyramidLevel& level) const {
  return followed_ == nullptr ? weight * mean_ / level.mean : weight;
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

Team* Pyramid::sharing(const Blend& blend, Team* team) const {
  const std::int64_t samples = std::int64_t{blend.output.width} * blend.output.height;
  Team* const wanted = largeEnough(samples, team);
  const bool hasRoom =
      wanted != nullptr && free_.samples >= wanted->size() * smoothDoubleScratch(smallest_->width);
  return hasRoom ? wanted : nullptr;
}

// Two parts for each participant, an even number of rows, as four of each part are smoothed twice.
std::int32_t Pyramid::partRows(const Blend& blend, const Team* team) {
  const std::int32_t parts = team == nullptr ? 1 : 2 * team->size();
  return std::clamp(blend.output.height / parts / 2 * 2 + 2, 16, 32);
}

void Pyramid::make(const Blend& blend, Band rows, int slot) {
  std::int16_t* const scratch = free_.data + slot * smoothDoubleScratch(smallest_->width);
  smoothDoubleBlend(planeOf(*smallest_), blend.large, blend.output, rows, scratch,
                    blend.enlargedWeight, blend.largeWeight);
}

PyramidOutcome Pyramid::collapse(Team* team) {
  if (followed_ != nullptr) {
    followEarlierFrames();
  } else {
    scaleSmallestToMean();
  }
  for (double decay = 1;; decay *= kBlendDecay, drop()) {
    if (free_.samples < smoothDoubleScratch(smallest_->width)) return PyramidOutcome::kNoScratch;
    share_ = kBlendStart * decay;
    const AmePyramidLevel* const larger = smallest_->larger;
    if (larger == nullptr) return PyramidOutcome::kDone;
    const Plane<std::int16_t> plane = planeOf(*larger);
    forEachPart({plane, plane, 1 - share_, matched(share_, *larger)}, team, [](Band) {});
  }
}

std::int64_t pyramidPoolBytes(std::int32_t width, std::int32_t height) {
  std::int64_t records = 0;
  for (; hasSmallerLevel(width, height); width = halved(width), height = halved(height)) {
    records += poolBlock(sizeof(AmePyramidLevel));
  }
  return records;
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

  const Plane<const int16_t> plane = packedPlane(source, width, height);
  MeanAndRange measured{0, 0, 0};
  Pyramid pyramid(manager, plane, meanOf(plane), {scratch, scratchLength});
  const PyramidOutcome outcome = pyramid.smooth(packedPlane(output, outputWidth, outputHeight),
                                                &measured, nullptr, [](Band) {});
  const bool finished = outcome == PyramidOutcome::kDone || outcome == PyramidOutcome::kNoLevel;
  if (!finished || statistics == nullptr) return;
  statistics[0] = static_cast<uint32_t>(measured.mean);
  statistics[1] = static_cast<uint32_t>(measured.minimum);
  statistics[2] = static_cast<uint32_t>(measured.maximum);
}

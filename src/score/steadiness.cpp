#include "score/steadiness.hpp"

#include <cstdlib>

#include "base/fixed_point.hpp"
#include "score/retinex.hpp"

namespace tlux {
namespace {

// A change of the mean log luminance by more than half a stop, 1024 · ln(2) / 2, is a cut. The mean
// of a scene changes by less from frame to frame: a light that comes on moves it by its share of the
// area times at most 1024 · ln(4125 / 30), from black to white, so by half a stop when it floods 7 %
// of the picture; exposure control moves in thirds of a stop at most. And what is followed slowly
// is never further off than a quarter of a stop, the anchor being half-way to grey.
constexpr std::int32_t kCut = 355;

std::int32_t rounded(double value) {
  return saturatingTrunc<std::int32_t>(value + (value < 0 ? -0.5 : 0.5));
}

} // namespace

void Steadiness::enter(std::int32_t mean) {
  isCut_ = !hasFrame_ || std::abs(mean - mean_) > kCut;
  hasFrame_ = true;
  mean_ = mean;
  anchor_ += (anchorOf(mean) - anchor_) * share();
}

std::int32_t Steadiness::followContrast(std::int32_t contrast) {
  contrast_ += (contrast - contrast_) * share();
  return rounded(contrast_);
}

std::int32_t Steadiness::anchor() const {
  return rounded(anchor_);
}

} // namespace tlux

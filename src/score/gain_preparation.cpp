#include "base/result.hpp"
#include "platform/scratch.hpp"
#include "score/retinex.hpp"
#include "tlux/retinex.h"

// From the samples of an image to its scores.
namespace tlux::detail {
namespace {

bool hasImage(const TLUX_TONEMAP_CONTEXT* context) {
  return context != nullptr && context->source != nullptr && context->source->plane[0] != nullptr &&
         context->width > 0 && context->height > 0;
}

// Row y of the linear plane is made of source bytes from y · pitch on.
template <class ToLinear>
void toLinear(const TLUX_TONEMAP_CONTEXT& context, std::int64_t pitch, std::int16_t* linear,
              ToLinear&& convert) {
  for (std::int32_t y = 0; y < context.height; ++y) {
    const std::uint8_t* row = context.source->plane[0] + y * pitch;
    std::int16_t* out = linear + std::int64_t{y} * context.width;
    for (std::ptrdiff_t x = 0; x < context.width; ++x) {
      out[x] = static_cast<std::int16_t>(convert(row[x]));
    }
  }
}

struct ScorePlanePair {
  Scratch<std::uint16_t> scores;
  Scratch<std::int16_t> linear;

  ScorePlanePair(MMemMgr manager, std::int64_t pixels)
      : scores(manager, pixels), linear(manager, pixels) {}
  explicit operator bool() const { return scores && linear; }
};

std::int64_t pixelsOf(const TLUX_TONEMAP_CONTEXT& context) {
  return std::int64_t{context.width} * context.height;
}

Result scoreLuma(MMemMgr manager, TLUX_TONEMAP_CONTEXT& context) {
  ScorePlanePair planes(manager, pixelsOf(context));
  if (!planes) return Result::kNoMemory;
  const std::uint16_t* table = context.codeToLinear;
  toLinear(context, context.width, planes.linear.get(),
           [table](std::uint8_t code) { return (table[code] + 2) >> 2; });
  const RetinexFrame frame{planes.linear.get(), planes.scores.get(), context.width, context.height};
  const Result result = scoreFrame(manager, nullptr, frame);
  if (result != Result::kOk) return result;
  context.logLuma = planes.linear.release();
  context.gains = planes.scores.release();
  return Result::kOk;
}

Result scoreMosaic(MMemMgr manager, TLUX_TONEMAP_CONTEXT& context) {
  ScorePlanePair planes(manager, pixelsOf(context));
  if (!planes) return Result::kNoMemory;
  toLinear(context, context.source->pitch[0], planes.linear.get(),
           [](std::uint8_t sample) { return sample << 4; });
  const RetinexFrame frame{planes.linear.get(), planes.scores.get(), context.width, context.height};
  if (scoreFrame(manager, nullptr, frame) != Result::kOk) {
    MMemSet(planes.scores.get(), 0, sizeof(std::uint16_t) * pixelsOf(context));
  }
  context.gains = planes.scores.release();
  return Result::kOk;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t GenerateTonemapping(MMemMgr manager, TLUX_TONEMAP_CONTEXT* context) noexcept {
  if (!hasImage(context) || context->codeToLinear == nullptr) return TLUX_ERR_INVALID_PARAM;
  const TLUX_IMAGE& image = *context->source;
  const int64_t bytes = int64_t{image.pitch[0]} * image.height;
  if (image.pitch[0] < 0 || pixelsOf(*context) > bytes) return TLUX_ERR_INVALID_PARAM;
  return codeOf(scoreLuma(manager, *context));
}

uint32_t TLUX_GenerateTonemappingBayer(MMemMgr manager, TLUX_TONEMAP_CONTEXT* context) noexcept {
  if (!hasImage(context)) return TLUX_ERR_INVALID_PARAM;
  const TLUX_IMAGE& image = *context->source;
  if (context->width > image.pitch[0] || context->height > image.height) {
    return TLUX_ERR_INVALID_PARAM;
  }
  return codeOf(scoreMosaic(manager, *context));
}

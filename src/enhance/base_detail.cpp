#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>

#include "base/fixed_point.hpp"
#include "base/plane_checks.hpp"
#include "base/result.hpp"
#include "guided_upsampling/window_sums.hpp"
#include "platform/scratch.hpp"
#include "tlux/detail.h"
#include "tlux/fast_guided_filter.h"
#include "tlux/transfer.h"

// Light is the decimal logarithm of linear light in 12 bits plus 1, which keeps it above 0: from
// log10(1 / 4096) for black to 0 for white.
namespace tlux::detail {
namespace {

constexpr double kWhite = 4096.0;
constexpr std::int32_t kStepsPerDecade = 4096;
constexpr std::int32_t kEncodingSteps = 14798; // log10(4096) · kStepsPerDecade + 1

std::array<float, 256> lightOfCodes() {
  std::array<float, 256> light{};
  for (std::size_t code = 0; code < light.size(); ++code) {
    light[code] = static_cast<float>(std::log10((TLUX_Degamma_Table[code] + 1) / kWhite));
  }
  return light;
}

// Code i stands for the light −i / kStepsPerDecade. The steps are finer than those of codes.
void fillEncoding(std::uint8_t* codes) {
  for (std::int32_t i = 0; i < kEncodingSteps; ++i) {
    const double linear =
        kWhite * std::pow(10.0, -static_cast<double>(i) / kStepsPerDecade) - 0.5; // −1, rounded
    codes[i] = TLUX_Gamma_Table8[clampTo(saturatingTrunc<std::int32_t>(linear), 0, 4095)];
  }
}

std::uint8_t encode(float light, const std::uint8_t* codes) {
  const float step = -light * kStepsPerDecade + 0.5f;
  return codes[static_cast<std::int32_t>(
      std::clamp(step, 0.0f, static_cast<float>(kEncodingSteps - 1)))];
}

struct LightRange {
  float least;
  float most;
};

// The float planes used by the split, each with the size of the picture.
struct WorkPlanes {
  WorkPlanes(MMemMgr manager, std::int64_t pixels)
      : light(manager, pixels),
        slope(manager, pixels),
        offset(manager, pixels),
        unused(manager, pixels) {}
  explicit operator bool() const { return light && slope && offset && unused; }

  Scratch<float> light;
  Scratch<float> slope;
  Scratch<float> offset;
  Scratch<float> unused;
};

struct BaseFilter {
  std::int32_t radius;
  float epsilon;
};

void writeLight(Plane<const std::uint8_t> in, const std::array<float, 256>& lightOf, float* out) {
  for (std::int32_t y = 0; y < in.height; ++y) {
    const std::uint8_t* row = in.row(y);
    out =
        std::transform(row, row + in.width, out, [&](std::uint8_t code) { return lightOf[code]; });
  }
}

// Leaves the base layer, mean(a) · light + mean(b), in `offset`.
Result splitBase(MMemMgr manager, Plane<const std::uint8_t> in,
                 const std::array<float, 256>& lightOf, const BaseFilter& filter,
                 const WorkPlanes& work) {
  const auto [data, width, height, pitch] = in;
  writeLight(in, lightOf, work.light.get());
  Result result =
      resultOf(GuideBlock(manager, work.light.get(), work.light.get(), height, width, width,
                          work.slope.get(), work.offset.get(), filter.radius, filter.epsilon));
  if (result != Result::kOk) return result;
  float* meanSlope = work.light.get(); // the light is known from the codes
  result = resultOf(BlockMeanVar(manager, work.slope.get(), height, width, width, meanSlope,
                                 work.unused.get(), filter.radius));
  if (result != Result::kOk) return result;
  float* meanOffset = work.slope.get();
  result = resultOf(BlockMeanVar(manager, work.offset.get(), height, width, width, meanOffset,
                                 work.unused.get(), filter.radius));
  if (result != Result::kOk) return result;
  std::ptrdiff_t i = 0;
  for (std::int32_t y = 0; y < height; ++y) {
    for (std::int32_t x = 0; x < width; ++x, ++i) {
      work.offset[i] = meanSlope[i] * lightOf[in.row(y)[x]] + meanOffset[i];
    }
  }
  return Result::kOk;
}

LightRange rangeOf(const float* values, std::int64_t count) {
  LightRange range = {values[0], values[0]};
  for (std::int64_t i = 1; i < count; ++i) {
    range.least = std::min(range.least, values[i]);
    range.most = std::max(range.most, values[i]);
  }
  return range;
}

// The factor that compresses the range to `decades`; 1 if the range is not larger.
float scaleFactor(const LightRange& range, double decades) {
  const auto present = static_cast<double>(range.most - range.least);
  return present > decades ? static_cast<float>(decades / present) : 1.0f;
}

Result compressBase(MMemMgr manager, Plane<const std::uint8_t> in, Plane<std::uint8_t> out,
                    const BaseFilter& filter, double decades) {
  const std::int64_t pixels = std::int64_t{in.width} * in.height;
  const WorkPlanes work(manager, pixels);
  const Scratch<std::uint8_t> codes(manager, kEncodingSteps);
  if (!work || !codes) return Result::kNoMemory;
  const std::array<float, 256> lightOf = lightOfCodes();
  const Result result = splitBase(manager, in, lightOf, filter, work);
  if (result != Result::kOk) return result;

  const float* base = work.offset.get();
  const LightRange range = rangeOf(base, pixels);
  const float scale = scaleFactor(range, decades);
  std::printf("maxBaseLayer = %f, minBaseLayer = %f", static_cast<double>(range.most),
              static_cast<double>(range.least));
  std::printf("ScaleFactor= %f\n", static_cast<double>(scale));

  fillEncoding(codes.get());
  for (std::int32_t y = 0; y < in.height; ++y) {
    const std::uint8_t* inRow = in.row(y);
    std::uint8_t* outRow = out.row(y);
    for (std::int32_t x = 0; x < in.width; ++x, ++base) {
      const float detail = lightOf[inRow[x]] - *base;
      outRow[x] = encode(range.most + scale * (*base - range.most) + detail, codes.get());
    }
  }
  return Result::kOk;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t BaseDetail(MMemMgr manager, const uint8_t* input, int32_t inputPitch, uint8_t* output,
                    int32_t outputPitch, int32_t width, int32_t height, int32_t radius, float eps,
                    float contrast) noexcept {
  const Plane<const uint8_t> in{input, width, height, inputPitch};
  const Plane<uint8_t> out{output, width, height, outputPitch};
  if (!isPlane(in) || !isPlane(out) || !isWindowRadius(radius) || !(eps > 0) || !(contrast > 1)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  if (isEmpty(width, height)) return TLUX_OK;
  return codeOf(
      compressBase(manager, in, out, {radius, eps}, std::log10(static_cast<double>(contrast))));
}

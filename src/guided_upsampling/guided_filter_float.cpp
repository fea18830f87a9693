// The fast guided filter (windows of 2r × 2r, edges repeated): all of it in floating point.
#include <cmath>
#include <cstddef>

#include "base/fixed_point.hpp"
#include "base/result.hpp"
#include "guided_upsampling/guide_block.hpp"
#include "guided_upsampling/upsample_line.hpp"
#include "guided_upsampling/window_sums.hpp"
#include "image/format.hpp"
#include "platform/scratch.hpp"
#include "reduce/reduce.hpp"
#include "tlux/fast_guided_filter.h"
#include "tlux/resample.h"

namespace tlux::detail {
namespace {

// Bilinear, top-left aligned: the sample j/8 of the way from m to n.
float between(float m, float n, std::ptrdiff_t j) {
  return m + (n - m) * (static_cast<float>(j) / kUpsampling);
}

// A float map enlarged ×8 row by row; the last row and column are repeated.
class EnlargedMap {
 public:
  EnlargedMap(Plane<const float> map, float* line) : map_(map), line_(line) {}

  // Moves to full-resolution row y.
  void moveTo(std::ptrdiff_t y) {
    const std::ptrdiff_t upper = y / kUpsampling;
    const std::ptrdiff_t lower = upper + 1 < map_.height ? upper + 1 : upper;
    for (std::ptrdiff_t x = 0; x < map_.width; ++x) {
      line_[x] = between(map_.row(upper)[x], map_.row(lower)[x], y % kUpsampling);
    }
  }

  float at(std::ptrdiff_t x) const {
    const std::ptrdiff_t left = x / kUpsampling;
    const std::ptrdiff_t right = left + 1 < map_.width ? left + 1 : left;
    return between(line_[left], line_[right], x % kUpsampling);
  }

 private:
  Plane<const float> map_;
  float* line_;
};

// An image released at the end of its scope; null when the allocation failed.
class ScratchImage {
 public:
  ScratchImage(MMemMgr manager, std::int32_t width, std::int32_t height, std::uint32_t format)
      : manager_(manager) {
    if (TLUX_CreateImage_IMK(&image_, width, height, format, manager) != TLUX_OK) image_ = nullptr;
  }
  ScratchImage(const ScratchImage&) = delete;
  ScratchImage& operator=(const ScratchImage&) = delete;
  ~ScratchImage() { TLUX_FreeImage_IMK(&image_, manager_); }

  TLUX_IMAGE* get() const { return image_; }

 private:
  MMemMgr manager_;
  TLUX_IMAGE* image_ = nullptr;
};

// Of the formats that can be reduced, those with a plane of luma.
bool isFilterableFormat(std::uint32_t code) {
  return planeCountOf(code) > 1 && isReducible(code, kUpsampling);
}

bool holdsLuma(const TLUX_IMAGE& image, std::int32_t width, std::int32_t height) {
  return image.width >= width && image.height >= height && hasRows(image, 0, width);
}

void applyMaps(EnlargedMap a, EnlargedMap b, const TLUX_IMAGE& guide, const TLUX_IMAGE& out,
               std::ptrdiff_t width, std::ptrdiff_t height) {
  for (std::ptrdiff_t y = 0; y < height; ++y) {
    a.moveTo(y);
    b.moveTo(y);
    const std::uint8_t* guideRow = guide.plane[0] + y * guide.pitch[0];
    std::uint8_t* outRow = out.plane[0] + y * out.pitch[0];
    for (std::ptrdiff_t x = 0; x < width; ++x) {
      const float value = std::fma(a.at(x), static_cast<float>(guideRow[x]), b.at(x));
      outRow[x] = saturatingTrunc<std::uint8_t>(static_cast<double>(value));
    }
  }
}

Result filterFloat(MMemMgr manager, const TLUX_IMAGE& source, const TLUX_IMAGE& guide,
                   const TLUX_IMAGE& out, std::int32_t radius, float eps) {
  const std::int32_t width = out.width / 16 * 2;
  const std::int32_t height = out.height / 16 * 2;
  if (width < 1 || height < 1) return Result::kOk;

  const std::int64_t samples = std::int64_t{width} * height;
  const ScratchImage small(manager, width, height, TLUX_FMT_YCBCR444_P);
  const Scratch<float> luma(manager, samples);
  const Scratch<float> a(manager, samples);
  const Scratch<float> b(manager, samples);
  const Scratch<float> lines(manager, 2 * std::int64_t{width});
  if (small.get() == nullptr || !luma || !a || !b || !lines) return Result::kNoMemory;

  const TLUX_CROP_RECT covered = {0, 0, out.width - 1, out.height - 1};
  Result result = resultOf(TLUX_ScaleCropImage(&source, small.get(), &covered, kUpsampling));
  if (result != Result::kOk) return result;
  for (std::ptrdiff_t y = 0; y < height; ++y) {
    for (std::ptrdiff_t x = 0; x < width; ++x) {
      luma[y * width + x] =
          static_cast<float>(small.get()->plane[0][y * small.get()->pitch[0] + x]);
    }
  }
  const auto plane = [=](const float* samplesOf) { return packedPlane(samplesOf, width, height); };
  result = guideBlock(manager, plane(luma.get()), plane(luma.get()), a.get(), b.get(), radius, eps);
  if (result != Result::kOk) return result;
  applyMaps({plane(a.get()), lines.get()}, {plane(b.get()), lines.get() + width}, guide, out,
            std::ptrdiff_t{kUpsampling} * width, std::ptrdiff_t{kUpsampling} * height);
  return Result::kOk;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t FastGuidedFilter(MMemMgr memMgr, const TLUX_IMAGE* src, const TLUX_IMAGE* guide,
                          TLUX_IMAGE* dst, int32_t radius, float eps) noexcept {
  if (src == nullptr || guide == nullptr || dst == nullptr || !isWindowRadius(radius) ||
      !holdsLuma(*src, dst->width, dst->height) || !holdsLuma(*guide, dst->width, dst->height) ||
      !holdsLuma(*dst, dst->width, dst->height)) {
    return TLUX_ERR_INVALID_PARAM;
  }
  if (!isFilterableFormat(src->format)) return TLUX_ERR_UNSUPPORTED;
  return codeOf(filterFloat(memMgr, *src, *guide, *dst, radius, eps));
}

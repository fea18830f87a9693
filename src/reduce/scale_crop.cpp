#include <limits>

#include "base/result.hpp"
#include "reduce/reduce.hpp"
#include "reduce/sub_grid.hpp"

namespace tlux::detail {
namespace {

bool hasPlanes(const TLUX_IMAGE& image, int count) {
  for (int i = 0; i < count; ++i) {
    if (image.plane[i] == nullptr) return false;
  }
  return true;
}

// The common part of all members.
void reduceImage(std::uint32_t format, int factor, const TLUX_IMAGE* source,
                 const TLUX_IMAGE* destination, const TLUX_CROP_RECT* rect) {
  if (source == nullptr || destination == nullptr || rect == nullptr) return;
  const Layout layout = layoutOf(format);
  const Crop crop = cropOf(*rect);
  if (crop.isEmpty() || !hasPlanes(*source, layout.planes()) || !hasPlanes(*destination, 3)) return;

  if (factor == 1) {
    widenChroma(layout, *source, crop, *destination);
  } else if (format == TLUX_FMT_BAYER && factor == 8) {
    reduceRawMosaic(gi32PixelArrangement, *source, crop, *destination);
  } else if (layout.sampling == Sampling::kPacked422) {
    reducePacked(factor, *source, crop, *destination);
  } else {
    reducePlanes(layout, factor, *source, crop, *destination);
  }
}

using Member = void (*)(const TLUX_IMAGE*, TLUX_IMAGE*, const TLUX_CROP_RECT*);

struct Entry {
  std::uint32_t format;
  std::int32_t factor;
  Member reduce;
};

#define TLUX_RESAMPLE_ENTRY(FUNCTION, LAYOUT, N) {TLUX_FMT_##LAYOUT, N, FUNCTION},
constexpr Entry kMembers[] = {TLUX_RESAMPLE_DISPATCHED_MEMBERS(TLUX_RESAMPLE_ENTRY)};
#undef TLUX_RESAMPLE_ENTRY
constexpr std::int32_t kMaxDispatchedFactor = 8;

Member findMember(std::uint32_t format, std::int32_t factor) {
  for (const Entry& entry : kMembers) {
    if (entry.format == format && entry.factor == factor) return entry.reduce;
  }
  return nullptr;
}

// Rounds width and height down to multiples of two blocks; the corner stays.
Crop roundedToBlocks(const Crop& crop, std::int32_t factor) {
  const std::int64_t step = 2 * std::int64_t{factor};
  return {crop.left, crop.top, crop.width / step * step, crop.height / step * step};
}

// For a crop that is not empty, so its last column and row fit the record.
TLUX_CROP_RECT rectOf(const Crop& crop) {
  return {static_cast<std::int32_t>(crop.left), static_cast<std::int32_t>(crop.top),
          static_cast<std::int32_t>(crop.left + crop.width - 1),
          static_cast<std::int32_t>(crop.top + crop.height - 1)};
}

Result scaleCrop(const TLUX_IMAGE* source, TLUX_IMAGE* destination, const TLUX_CROP_RECT* rect,
                 std::int32_t factor) {
  if (factor < 1) return Result::kInvalidParam;
  if (factor > kMaxDispatchedFactor) return Result::kOk;
  if (source == nullptr || destination == nullptr) return Result::kInvalidParam;
  const Member member = findMember(source->format, factor);
  if (member == nullptr) return Result::kOk;
  const Crop whole{0, 0, source->width, source->height};
  const Crop crop = roundedToBlocks(rect == nullptr ? whole : cropOf(*rect), factor);
  if (crop.isEmpty()) return Result::kOk; // also of an image too narrow to have chroma planes
  if (!hasPlanes(*source, layoutOf(source->format).planes()) || !hasPlanes(*destination, 3)) {
    return Result::kInvalidParam;
  }
  const TLUX_CROP_RECT rounded = rectOf(crop);
  member(source, destination, &rounded);
  return Result::kOk;
}

} // namespace

bool isReducible(std::uint32_t code, std::int32_t factor) {
  return findMember(code, factor) != nullptr;
}

} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_ScaleCropImage(const TLUX_IMAGE* source, TLUX_IMAGE* destination,
                             const TLUX_CROP_RECT* crop, int32_t factor) noexcept {
  return codeOf(scaleCrop(source, destination, crop, factor));
}

#define TLUX_RESAMPLE_DEFINE(FUNCTION, LAYOUT, N)                  \
  void FUNCTION(const TLUX_IMAGE* source, TLUX_IMAGE* destination, \
                const TLUX_CROP_RECT* crop) noexcept {             \
    reduceImage(TLUX_FMT_##LAYOUT, N, source, destination, crop);  \
  }
TLUX_RESAMPLE_DISPATCHED_MEMBERS(TLUX_RESAMPLE_DEFINE)
TLUX_RESAMPLE_FURTHER_MEMBERS(TLUX_RESAMPLE_DEFINE)
TLUX_RESAMPLE_DEFINE(ResampleImage_4_3_YCBCR420_P, YCBCR420_P, kFourThirds)
#undef TLUX_RESAMPLE_DEFINE

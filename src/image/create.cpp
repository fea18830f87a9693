#include "base/result.hpp"
#include "image/format.hpp"
#include "platform/scratch.hpp"

uint32_t gi32PixelArrangement = 0x16161616;

namespace tlux::detail {
namespace {

Result allocatePlanes(TLUX_IMAGE& image, const std::array<PlaneSize, 3>& sizes, MMemMgr manager) {
  auto* block = static_cast<std::uint8_t*>(allocateBytes(manager, totalBytes(sizes)));
  if (block == nullptr) return Result::kNoMemory;
  image.plane[0] = block;
  for (std::size_t i = 1; i < sizes.size() && image.pitch[i] != 0; ++i) {
    image.plane[i] = image.plane[i - 1] + sizes[i - 1].bytes();
  }
  return Result::kOk;
}

Result createImage(TLUX_IMAGE** out, std::int32_t width, std::int32_t height, std::uint32_t code,
                   MMemMgr manager) {
  *out = nullptr;
  auto* image = static_cast<TLUX_IMAGE*>(allocateBytes(manager, sizeof(TLUX_IMAGE)));
  if (image == nullptr) return Result::kNoMemory;
  *image = {};

  const Format* format = findFormat(code);
  if (format == nullptr) return Result::kUnsupported; // the record stays with the manager
  const bool tooSmall = width < 0 || height < 0;
  const auto sizes = planeSizes(*format, width, height);
  if (tooSmall || setLayout(*image, *format, sizes, width, height) != Result::kOk ||
      allocatePlanes(*image, sizes, manager) != Result::kOk) {
    MMemFree(manager, image);
    return Result::kNoMemory;
  }
  *out = image;
  return Result::kOk;
}

} // namespace
} // namespace tlux::detail

using namespace tlux::detail;

uint32_t TLUX_CreateImage_IMK(TLUX_IMAGE** out, int32_t width, int32_t height, uint32_t format,
                              MMemMgr manager) noexcept {
  if (out == nullptr) return TLUX_ERR_INVALID_PARAM;
  return codeOf(createImage(out, width, height, format, manager));
}

uint32_t TLUX_SetImage_IMK(TLUX_IMAGE* image, int32_t width, int32_t height, uint32_t format,
                           uint8_t* const planes[], const int32_t pitches[]) noexcept {
  if (image == nullptr || planes == nullptr || pitches == nullptr) return TLUX_ERR_INVALID_PARAM;
  image->width = width;
  image->height = height;
  image->format = format;
  for (int i = 0; i < planeCountOf(format); ++i) {
    image->plane[i] = planes[i];
    image->pitch[i] = pitches[i];
  }
  return TLUX_OK;
}

void TLUX_FreeImage_IMK(TLUX_IMAGE** image, MMemMgr manager) noexcept {
  if (image == nullptr || *image == nullptr) return;
  TLUX_FreeImageData_IMK(*image, manager);
  MMemFree(manager, *image);
  *image = nullptr;
}

void TLUX_FreeImageData_IMK(TLUX_IMAGE* image, MMemMgr manager) noexcept {
  if (image == nullptr || image->plane[0] == nullptr) return;
  MMemFree(manager, image->plane[0]);
  image->plane[0] = nullptr;
}

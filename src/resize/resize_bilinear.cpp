#include "resize/bilinear.hpp"
#include "resize/resize_image.hpp"
#include "resize/resize_plane.hpp"
#include "tlux/resize.h"

using namespace tlux::detail;

uint32_t asfImageResize_BL(const TLUX_IMAGE* source, TLUX_IMAGE* target) noexcept {
  const int32_t rows = target == nullptr ? 0 : target->height;
  return codeOf(resizeImage<CentreAligned>(source, target, {0, rows}));
}

uint32_t asfImageResize_BL_Piece(const TLUX_IMAGE* source, TLUX_IMAGE* target, int32_t firstRow,
                                 int32_t endRow) noexcept {
  if (target == nullptr || firstRow < 0 || endRow < firstRow || endRow > target->height) {
    return TLUX_ERR_INVALID_PARAM;
  }
  return codeOf(resizeImage<CentreAligned>(source, target, {firstRow, endRow}));
}

uint32_t asfImageResize_BL_C1(const uint8_t* source, int32_t sourceWidth, int32_t sourceHeight,
                              int32_t sourceStride, uint8_t* target, int32_t targetWidth,
                              int32_t targetHeight, int32_t targetStride) noexcept {
  return codeOf(resizePlane<CentreAligned>({source, sourceWidth, sourceHeight, sourceStride},
                                           {target, targetWidth, targetHeight, targetStride}));
}

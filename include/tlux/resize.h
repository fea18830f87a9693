/**
 * @file resize.h
 * @brief Resizing planes by any ratio.
 */
#ifndef TLUX_RESIZE_H
#define TLUX_RESIZE_H

#include "base.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup resize Resizers
 *
 * Resize a plane of 8-bit samples to any size. The centres of the first and last output samples lie
 * as far inside the picture as those of the input (half-pixel alignment), so that a picture does
 * not move when its size changes; the edge samples are repeated outward. Nothing is allocated.
 *
 * Interpolation looks at the nearest input samples only. Reduce by more than two with the
 * resampler (or a blur before) where aliasing matters.
 * @{
 */

/**
 * Resizes one plane bilinearly. Weights have 11 bits per axis, results are rounded; equal sizes
 * give an exact copy.
 *
 * @param source first byte of the input plane.
 * @param sourceWidth,sourceHeight its size, at least 1.
 * @param sourceStride bytes from one of its rows to the next, at least the width.
 * @param target first byte of the output plane, which must not overlap the input.
 * @param targetWidth,targetHeight its size, at least 1.
 * @param targetStride bytes from one of its rows to the next, at least the width; bytes behind the
 * width are left alone.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null plane, an empty size or a stride below the
 * width (nothing is written).
 */
TLUX_API uint32_t asfImageResize_BL_C1(const uint8_t* source, int32_t sourceWidth,
                                       int32_t sourceHeight, int32_t sourceStride, uint8_t* target,
                                       int32_t targetWidth, int32_t targetHeight,
                                       int32_t targetStride) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_RESIZE_H */

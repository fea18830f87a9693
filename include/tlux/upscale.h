/**
 * @file upscale.h
 * @brief Eightfold enlargement of low-resolution planes and images, whole or cropped.
 */
#ifndef TLUX_UPSCALE_H
#define TLUX_UPSCALE_H

#include "base.h"
#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup upscale Eightfold up-scaling
 *
 * Brings results computed on a reference frame, one eighth of the size, back to full resolution
 * with the interpolation of the tone-mapping core (UPSampleLine8Int()), for 8-bit samples: linear,
 * top-left aligned, along the rows first and then down the columns, each rounded down:
 *
 *     h(8x + j) = ((8 − j) · low(x) + j · low(x + 1)) >> 3
 *     out(8y + k) = ((8 − k) · h(y) + k · h(y + 1)) >> 3
 *
 * The last column and row are repeated. Unlike that of the resizers, the grid starts at the top
 * left sample: sample 8x of the enlargement is low sample x, as for the coefficient maps of the
 * core. Nothing is allocated; source and target must not overlap.
 * @{
 */

/**
 * Computes one whole line of the enlargement from the two low-resolution rows around it.
 *
 * @param upper,lower low-resolution rows y and y + 1 (for the last row, the same twice).
 * @param lowWidth samples of these rows, 1 to 2²⁸ − 1.
 * @param phase line 8y + phase is produced, 0 to 7.
 * @param line receives 8 · lowWidth samples.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null pointer or a number outside its range
 *         (nothing is written).
 */
TLUX_API uint32_t TLUX_UpscaleCalLine8s(const uint8_t* upper, const uint8_t* lower,
                                        int32_t lowWidth, int32_t phase,
                                        uint8_t* line) TLUX_NOEXCEPT;

/**
 * Crops a rectangle from an enlarged plane; only the rectangle is computed.
 *
 * @param low first byte of the low-resolution plane.
 * @param lowWidth,lowHeight its size, at least 1.
 * @param lowStride bytes from one of its rows to the next, at least the width.
 * @param left,top corner of the rectangle in the enlarged plane, at least 0.
 * @param target first byte of the plane that receives the rectangle.
 * @param targetWidth,targetHeight size of the rectangle, at least 1; it lies inside the enlarged
 *        plane of 8 · lowWidth by 8 · lowHeight samples.
 * @param targetStride bytes from one of its rows to the next, at least the width; bytes past the
 *        width are not touched.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null plane or a number outside its range
 *         (nothing is written).
 */
TLUX_API uint32_t UpcaleCropGray(const uint8_t* low, int32_t lowWidth, int32_t lowHeight,
                                 int32_t lowStride, int32_t left, int32_t top, uint8_t* target,
                                 int32_t targetWidth, int32_t targetHeight,
                                 int32_t targetStride) TLUX_NOEXCEPT;

/**
 * Crops a rectangle of the target's size from an enlarged image, for every format that the resizers
 * support, component by component as they do.
 *
 * Chroma starts at the halved corner, so an odd corner keeps the chroma sample it lies in. Chroma
 * samples beyond the enlarged chroma plane (odd sizes of the low image) repeat its last ones; a low
 * image without chroma samples gives neutral chroma, 128.
 *
 * @param low low-resolution image.
 * @param left,top corner of the rectangle in luma pixels of the enlarged image, at least 0.
 * @param target image of the same format that receives the rectangle, which lies inside the
 *        enlarged image of 8 · width by 8 · height pixels.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null image, different formats, an empty size, a
 *         required plane that is null, a pitch shorter than its row or a rectangle that extends
 *         beyond it; ::TLUX_ERR_UNSUPPORTED for raw frames, YCBYCR_5 to YCBYCR_8 and unknown codes.
 *         Nothing is written on failure.
 */
TLUX_API uint32_t UpcaleCropImage(const TLUX_IMAGE* low, int32_t left, int32_t top,
                                  TLUX_IMAGE* target) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_UPSCALE_H */

/**
 * @file box_blur.h
 * @brief In-place box blurs of one plane, for four sample types.
 */
#ifndef TLUX_BOX_BLUR_H
#define TLUX_BOX_BLUR_H

#include "base.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup box_blur Box blurs
 *
 * Every sample becomes the mean of the (2r + 1) × (2r + 1) samples around it. The outermost samples
 * are repeated beyond the edges, so a uniform plane stays uniform up to the edges.
 *
 * With d = 2r + 1 and S the sum of the d² samples, the result is (S · k + 32768) >> 16, where
 * k = (d² + 131072) / (2d²), an integer division, is 65536 / d² rounded to nearest. The cost of a
 * sample does not depend on the radius. S is a 32-bit sum that can wrap, but only with full-range
 * 16-bit samples and a radius of 128 or more, or with 32-bit samples whose sum exceeds 31 bits; the
 * product is not limited; the result is saturated to the sample type.
 *
 * Intended: the rounding of k affects the mean. A uniform plane of 255 becomes 254 at r = 16, where
 * d² · k is 65340 instead of 65536, and would become 256 at r = 9 without saturation. The error
 * grows with the radius; from r = 181 on, k is 0, and so is every sample.
 *
 * The four functions share their arguments and results:
 * - `manager`: pool for the working memory of one call, or null for the heap. One allocation holds
 *   the rows that are overwritten before their last use, min(r + 1, height) of them, and about
 *   three rows of 32-bit sums.
 * - `plane`: first sample; read, then overwritten. Only the samples of the rows are touched, not
 *   the padding between them.
 * - `width`, `height`: samples in a row, and rows. If either is below 1, there is nothing to do.
 * - `pitch`: distance between rows in samples (not bytes), at least `width`.
 * - `radius`: 0 or less leaves the plane unchanged.
 * - `path`: ignored; both values are accepted.
 *
 * They return ::TLUX_OK, even if there is nothing to do; ::TLUX_ERR_INVALID_PARAM for a null plane
 * with samples to blur; ::TLUX_ERR_NO_MEMORY if the working memory cannot be allocated, with the
 * plane untouched. Calls on different planes may run at the same time if they do not share a pool.
 * @{
 */

/** Blurs a plane of unsigned 8-bit samples. */
TLUX_API uint32_t TLUX_BoxBlur_Byte(MMemMgr manager, uint8_t* plane, int32_t width, int32_t height,
                                    int32_t pitch, int32_t radius, int32_t path) TLUX_NOEXCEPT;

/** Blurs a plane of signed 8-bit samples. */
TLUX_API uint32_t TLUX_BoxBlur_Int8(MMemMgr manager, int8_t* plane, int32_t width, int32_t height,
                                    int32_t pitch, int32_t radius, int32_t path) TLUX_NOEXCEPT;

/** Blurs a plane of signed 16-bit samples. */
TLUX_API uint32_t TLUX_BoxBlur_Int16(MMemMgr manager, int16_t* plane, int32_t width, int32_t height,
                                     int32_t pitch, int32_t radius, int32_t path) TLUX_NOEXCEPT;

/** Blurs a plane of signed 32-bit samples. */
TLUX_API uint32_t TLUX_BoxBlur_Int32(MMemMgr manager, int32_t* plane, int32_t width, int32_t height,
                                     int32_t pitch, int32_t radius, int32_t path) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_BOX_BLUR_H */

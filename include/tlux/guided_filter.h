/**
 * @file guided_filter.h
 * @brief Guided filters on simple images: edge-preserving smoothing that follows a guide.
 */
#ifndef TLUX_GUIDED_FILTER_H
#define TLUX_GUIDED_FILTER_H

#include "base.h"
#include "simple_image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup guided_filter Guided filters
 *
 * The guided filter (K. He, J. Sun, X. Tang: Guided Image Filtering, IEEE TPAMI 35(6), 2013)
 * smooths an input p and keeps the edges of a guide I. In the window of (2r + 1) × (2r + 1) pixels
 * around each pixel, cut off at the edges of the image, p is fitted by a linear function a · I + b;
 * every pixel of the output q is the mean of the functions of all windows that contain it. The
 * regularisation is fixed at ε = 10, on the scale of squared 8-bit values. The cost of a pixel does
 * not depend on the radius.
 *
 * With a guide of one channel all arithmetic is integer. mean() is the sum over the window divided
 * by its number of pixels, truncated toward zero, and so is every division:
 *
 *     var = mean(I·I) − mean(I)²
 *     a   = ((mean(I·p) − mean(p) · mean(I)) · 256) / (var + 10)       Q8
 *     b   = mean(p) · 256 − a · mean(I)                                Q8
 *     q   = (mean(a) · I + mean(b)) >> 8, clamped to 0..255
 *
 * Intended: the means are truncated one by one, so a flat guide does not give a covariance of
 * exactly 0. At r = 0 the output is the input.
 *
 * With a guide of three channels a is a vector, (Σ + ε · 1)⁻¹ · cov(I, p), where Σ is the 3 × 3
 * covariance matrix of the guide's channels. Means and covariances are computed in double precision
 * without rounding to integers, a and then b = mean(p) − a · mean(I) are truncated to Q8, and from
 * there on the arithmetic is that of one channel. The bytes are the same on every machine.
 *
 * Arguments that all functions share:
 * - `manager`: pool for the working memory, or null for the heap. All of it is allocated before
 *   anything is written and released before the return.
 * - `I`, `p`, `q`: guide, input and output, of one size and 8 bits a sample; p and q have one
 *   channel. They are accessed only through their row tables, so images over external memory may
 *   have any stride.
 * - `r`: radius; a radius above the larger side of the image acts like that side.
 *
 * Nothing is written, and nothing reported, if an image or its row table is null, if sizes,
 * channels or depths are not as stated, for empty images and those of more than 2²⁸ pixels, for r
 * below 0, and if the memory cannot be allocated. q may be p or I (the same rows), unless stated
 * otherwise; apart from that the images may not overlap. Calls may run at the same time if they
 * share no output and no pool.
 * @{
 */

/** Filters with a guide of one channel. Needs about 8 · (2r + 17) bytes per column of the image. */
TLUX_API void guided_filter_1d(MMemMgr manager, const img* I, const img* p, img* q,
                               int32_t r) TLUX_NOEXCEPT;

/**
 * guided_filter_1d() on up to four threads, with the same output.
 *
 * The threads start and end inside the call. If one cannot be started, the calling thread does its
 * work. Needs 8 bytes per pixel and about 320 per column.
 */
TLUX_API void guided_filter_1dI(MMemMgr manager, const img* I, const img* p, img* q,
                                int32_t r) TLUX_NOEXCEPT;

/**
 * Filters with a guide of three channels, which also keeps edges that differ only in colour. Needs
 * about 16 · (2r + 20) bytes per column of the image.
 */
TLUX_API void guided_filter_3d(MMemMgr manager, const img* I, const img* p, img* q,
                               int32_t r) TLUX_NOEXCEPT;

/**
 * guided_filter_3d() block by block, with the same output and memory for one block only, however
 * wide the image is.
 *
 * A block is a square of max(256, 4r) pixels a side, and is filtered with the 2r pixels around it
 * that its windows cover. So q may not share rows with I or p; if it does, nothing is written.
 */
TLUX_API void guided_filter_bin_blocks3d(MMemMgr manager, const img* I, const img* p, img* q,
                                         int32_t r) TLUX_NOEXCEPT;

/** guided_filter_bin_blocks3d() under the name that callers use. */
TLUX_API void each_guided(MMemMgr manager, const img* I, const img* p, img* q,
                          int32_t r) TLUX_NOEXCEPT;

/** Returns its argument. */
TLUX_API int32_t guided_filter_bin_max3d(int32_t x) TLUX_NOEXCEPT;

/**
 * Only the first pass of guided_filter_1d(): the coefficients of every window, for a caller that
 * smooths and applies them itself.
 *
 * @param a,b receive the coefficients, Q8: images of the size of I, one channel of 32 bits
 *        (signed). Neither may share memory with another image of the call.
 */
TLUX_API void guided_box_alpha(MMemMgr manager, const img* I, const img* p, img* a, img* b,
                               int32_t r) TLUX_NOEXCEPT;

/**
 * guided_box_alpha() on the grid of every second pixel: sample (x, y) of a and b is that of pixel
 * (2x, 2y). The coefficients vary slowly, so a quarter of them is enough if they are enlarged again
 * (K. He, J. Sun: Fast Guided Filter, 2015).
 *
 * @param a,b (width + 1) / 2 by (height + 1) / 2 samples; otherwise as in guided_box_alpha().
 */
TLUX_API void guided_box_alpha_half(MMemMgr manager, const img* I, const img* p, img* a, img* b,
                                    int32_t r) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_GUIDED_FILTER_H */

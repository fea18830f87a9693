/**
 * @file smoothing.h
 * @brief Edge-preserving smoothing of 8-bit planes, and their local variance.
 */
#ifndef TLUX_SMOOTHING_H
#define TLUX_SMOOTHING_H

#include "base.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup smoothing Smoothing of planes
 *
 * Filters that smooth noise and texture and keep edges, on planes of 8-bit samples. They share
 * their first arguments:
 * - `manager`: pool for the working memory, or null for the heap. All of it is allocated before
 *   anything is written and released before the return.
 * - Planes, each followed by its pitch, the distance from row to row in bytes. It is at least the
 *   bytes of a row; the bytes after a row are neither read nor written.
 * - `width`, `height`: pixels in a row, and rows, of all planes. If either is below 1, there is
 *   nothing to do.
 * - `radius`: the window of a pixel extends this many pixels to each side.
 *
 * They return ::TLUX_OK, even if there is nothing to do; ::TLUX_ERR_INVALID_PARAM for a null plane,
 * a pitch below the bytes of a row, planes of more than 2²⁸ pixels or a number out of its range;
 * ::TLUX_ERR_NO_MEMORY. On an error nothing is written. An output may be one of the inputs (the
 * same plane with the same pitch and samples a pixel) but may not overlap them in any other way.
 * Calls may run at the same time if they share no output and no pool.
 * @{
 */

/**
 * Smooths a plane along the edges of a guide with the guided filter (K. He, J. Sun, X. Tang: Guided
 * Image Filtering, IEEE TPAMI 35(6), 2013).
 *
 * In the window of (2r + 1) × (2r + 1) pixels around each pixel, cut off at the edges of the plane,
 * the input p is fitted by a · I + b; the output is the mean of these functions over all windows
 * that contain the pixel:
 *
 *     a = cov(I, p) / (var(I) + eps)      b = mean(p) − a · mean(I)
 *     q = mean(a) · I + mean(b)
 *
 * Where the guide varies by much less than √eps, the output is a mean of the input; edges much
 * higher than √eps are kept. A plane guides itself when it is both guide and input. The cost of a
 * pixel does not depend on the radius.
 *
 * Means and covariances are computed in double precision; a, b and their means are truncated to
 * Q10; the output is rounded. It is less than 1 away from the exact value (less than 2 with a guide
 * of three channels), a uniform input comes out unchanged, and the bytes are the same on every
 * machine. (guided_filter_1d(), in integers throughout, uses ε = 10.)
 *
 * @param guide I, one byte a pixel.
 * @param input p, one byte a pixel.
 * @param output q.
 * @param radius at least 0, where the output is the input; above the size of the plane it acts as
 *        that size.
 * @param eps regularisation, in squared 8-bit values, at least 1: 10 keeps fine texture, 400 (a
 *        deviation of 20) smooths all but strong edges.
 *
 * Needs about 8 · (2r + 20) bytes per column.
 */
TLUX_API uint32_t TLUX_GuidedFilter1D(MMemMgr manager, const uint8_t* guide, int32_t guidePitch,
                                      const uint8_t* input, int32_t inputPitch, uint8_t* output,
                                      int32_t outputPitch, int32_t width, int32_t height,
                                      int32_t radius, int32_t eps) TLUX_NOEXCEPT;

/**
 * TLUX_GuidedFilter1D() with coefficients from reduced planes (K. He, J. Sun: Fast Guided Filter,
 * arXiv:1505.00996, 2015): about three times as fast at a factor of 4, with almost the same result,
 * since the coefficients vary slowly if the radius is large.
 *
 * Guide and input are reduced by the factor s, each block of s × s pixels (less at the right and
 * bottom edge) to its rounded mean. Their coefficients, with the radius r / s rounded, but at least
 * 1 for r above 0, are smoothed there and enlarged bilinearly in Q6 steps between the centres of
 * the blocks; beyond the outermost centres they are repeated. Then they are applied to the guide at
 * full size.
 *
 * @param factor s, 1 to 16; a quarter of the radius or less is a good choice. 1 gives the output of
 *        TLUX_GuidedFilter1D(). Other arguments as there.
 *
 * Needs 2 / s² bytes per pixel, and per column 38 bytes and 1 / s of what TLUX_GuidedFilter1D()
 * needs.
 */
TLUX_API uint32_t TLUX_GuidedFilter1DS(MMemMgr manager, const uint8_t* guide, int32_t guidePitch,
                                       const uint8_t* input, int32_t inputPitch, uint8_t* output,
                                       int32_t outputPitch, int32_t width, int32_t height,
                                       int32_t radius, int32_t eps, int32_t factor) TLUX_NOEXCEPT;

/**
 * TLUX_GuidedFilter1D() for the three channels of an input with one guide: each channel of the
 * output is what that function would return for it.
 *
 * @param input,output three interleaved bytes a pixel, such as B, G, R.
 *
 * Arguments otherwise as for TLUX_GuidedFilter1D(). The output may be the input, not the guide.
 */
TLUX_API uint32_t GuidedFilter1D_3C(MMemMgr manager, const uint8_t* guide, int32_t guidePitch,
                                    const uint8_t* input, int32_t inputPitch, uint8_t* output,
                                    int32_t outputPitch, int32_t width, int32_t height,
                                    int32_t radius, int32_t eps) TLUX_NOEXCEPT;

/**
 * Smooths a plane along the edges of a guide of three channels, which also keeps edges that differ
 * only in colour. In the fit of TLUX_GuidedFilter1D() a is the vector (Σ + eps · 1)⁻¹ · cov(I, p),
 * Σ being the 3 × 3 covariance matrix of the guide's channels.
 *
 * @param guide I, three interleaved bytes a pixel, such as B, G, R.
 *
 * Arguments otherwise as for TLUX_GuidedFilter1D(). The output may be the input, not the guide.
 */
TLUX_API uint32_t GuidedFilter3D(MMemMgr manager, const uint8_t* guide, int32_t guidePitch,
                                 const uint8_t* input, int32_t inputPitch, uint8_t* output,
                                 int32_t outputPitch, int32_t width, int32_t height, int32_t radius,
                                 int32_t eps) TLUX_NOEXCEPT;

/**
 * Smooths a plane with the bilateral filter (C. Tomasi, R. Manduchi: Bilateral Filtering for Gray
 * and Color Images, ICCV 1998): the output is the mean of the surrounding pixels, each with the
 * weight
 *
 *     exp(−d² / (2 · spaceSigma²)) · exp(−(difference of the samples)² / (2 · rangeSigma²)),
 *
 * d being its distance. The window is round, d ≤ radius; the outermost samples are repeated beyond
 * the edges of the plane. The cost of a pixel grows with the square of the radius.
 *
 * Weights come from tables, rounded to multiples of 1 / 32767 of the centre's, or of 1 / 2²³ of the
 * sum of all space weights if that is more (from a radius of 9 on). The mean is rounded.
 *
 * @param radius 0 to 64; twice the space sigma loses little.
 * @param rangeSigma in 8-bit values, above 0: much larger differences are edges.
 * @param spaceSigma in pixels, above 0.
 *
 * Needs (2r + 1) · (width + 2r) bytes and about r² / 4 KiB.
 */
TLUX_API uint32_t BilateralFilter1D(MMemMgr manager, const uint8_t* input, int32_t inputPitch,
                                    uint8_t* output, int32_t outputPitch, int32_t width,
                                    int32_t height, int32_t radius, float rangeSigma,
                                    float spaceSigma) TLUX_NOEXCEPT;

/**
 * The variance of the samples around each pixel, mean(x²) − mean(x)², in the window of
 * (2r + 1) × (2r + 1) pixels, cut off at the edges of the plane: in smooth regions, the variance of
 * the noise. Rounded to the nearest integer; 16256 at most.
 *
 * @param variance receives width × height samples; its pitch is in bytes too, and even. It may not
 *        overlap the input.
 * @param radius at least 0, where all variances are 0; above the size of the plane it acts as that
 *        size.
 *
 * Needs about 2 · (r + 30) bytes per column.
 */
TLUX_API uint32_t TLUX_CalculateVairance(MMemMgr manager, const uint8_t* input, int32_t inputPitch,
                                         uint16_t* variance, int32_t variancePitch, int32_t width,
                                         int32_t height, int32_t radius) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_SMOOTHING_H */

/**
 * @file detail.h
 * @brief Detail and local contrast of 8-bit planes: enhanced, cored, or kept while the range is
 *        compressed; and a false-colour view.
 */
#ifndef TLUX_DETAIL_H
#define TLUX_DETAIL_H

#include "base.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup detail Detail and local contrast
 *
 * The functions share their first arguments:
 * - `manager`: pool for the working memory, or null for the heap. All of it is released before the
 *   return.
 * - `input`, `output`: planes of 8-bit samples, each followed by its pitch, the distance from row
 *   to row in bytes. It is at least the bytes of a row; the bytes after a row are neither read nor
 *   written.
 * - `width`, `height`: pixels in a row, and rows, of both. If either is below 1, there is nothing
 *   to do.
 * - `radius`: the window of a pixel extends this many pixels to each side and is cut off at the
 *   edges of the plane; at least 0; a radius above the size of the plane acts like that size. It
 *   does not affect the cost per pixel.
 *
 * Gains are Q10: 1024 is 1.0. The functions return ::TLUX_OK, even if there is nothing to do;
 * ::TLUX_ERR_INVALID_PARAM for a null plane, a pitch below the bytes of a row, planes of more than
 * 2²⁸ pixels or a number out of its range; ::TLUX_ERR_NO_MEMORY. On an error nothing is written.
 * Unless stated otherwise, the output may be the input (the same plane with the same pitch) but may
 * not overlap it in any other way. Calls may run at the same time if they share no output and no
 * pool.
 * @{
 */

/**
 * Scales the contrast of each pixel to the mean of its window (J.-S. Lee: Digital Image Enhancement
 * and Noise Filtering by Use of Local Statistics, IEEE TPAMI 2(2), 1980):
 *
 *     out = mean + gain · (x − mean), rounded, clamped to 0..255
 *
 * @param radius of the window; 0 leaves the plane unchanged.
 * @param gain Q10, 0 to 16384. Above 1024 it sharpens, below it smooths, and 0 gives only the mean.
 *
 * Needs about 2 · (r + 25) bytes per column.
 */
TLUX_API uint32_t LeeFilterEnhancement(MMemMgr manager, const uint8_t* input, int32_t inputPitch,
                                       uint8_t* output, int32_t outputPitch, int32_t width,
                                       int32_t height, int32_t radius, int32_t gain) TLUX_NOEXCEPT;

/**
 * Raises the local contrast where it is low (P. M. Narendra, R. C. Fitch: Real-Time Adaptive
 * Contrast Enhancement, IEEE TPAMI 3(6), 1981): LeeFilterEnhancement() with the gain of each pixel
 *
 *     gain = deviation / σ, limited to 1 … largestGain,
 *
 * σ being the standard deviation of its window. Windows above the target deviation are unchanged,
 * so strong edges are not exaggerated; flat ones get the largest gain, so choose it with their
 * noise in mind.
 *
 * @param radius of the window; 0 leaves the plane unchanged.
 * @param deviation target standard deviation of a window, in 8-bit values, 1 to 127.
 * @param largestGain Q10, 1024 to 16384; 1024 leaves the plane unchanged.
 *
 * Needs about 2 · (r + 30) bytes per column.
 */
TLUX_API uint32_t ImgEnhancement(MMemMgr manager, const uint8_t* input, int32_t inputPitch,
                                 uint8_t* output, int32_t outputPitch, int32_t width,
                                 int32_t height, int32_t radius, int32_t deviation,
                                 int32_t largestGain) TLUX_NOEXCEPT;

/**
 * Splits a plane with TLUX_GuidedFilter1D(), with the plane as its own guide, and recombines it
 * with a cored and scaled residual:
 *
 *     d   = x − smoothed
 *     out = smoothed + sign(d) · gain · max(|d| − threshold, 0), each term rounded, clamped
 *
 * A threshold above the noise and a gain of 1024 removes noise; a higher gain sharpens the rest,
 * without halos, since edges stay in the smoothed plane. Threshold 0 with a gain of 1024 leaves the
 * plane unchanged.
 *
 * @param radius,eps as for TLUX_GuidedFilter1D().
 * @param threshold 0 to 255, in 8-bit values.
 * @param gain Q10, 0 (the smoothed plane) to 16384.
 *
 * Needs one byte per pixel more than TLUX_GuidedFilter1D().
 */
TLUX_API uint32_t ResFilter(MMemMgr manager, const uint8_t* input, int32_t inputPitch,
                            uint8_t* output, int32_t outputPitch, int32_t width, int32_t height,
                            int32_t radius, int32_t eps, int32_t threshold,
                            int32_t gain) TLUX_NOEXCEPT;

/**
 * Compresses the range of a luma plane while keeping its detail (F. Durand, J. Dorsey: Fast
 * Bilateral Filtering for the Display of High-Dynamic-Range Images, SIGGRAPH 2002), with the guided
 * filter of GuideBlock() instead of the bilateral one.
 *
 * Codes are converted to L = log10((linear + 1) / 4096) through ::TLUX_Degamma_Table. The base
 * layer is mean(a) · L + mean(b), with the coefficients of GuideBlock() for L as input and guide,
 * smoothed with BlockMeanVar(); the detail layer is L − base. Then
 *
 *     scale = log10(contrast) / (maxBase − minBase), at most 1
 *     out   = maxBase + scale · (base − maxBase) + detail,
 *
 * back through ::TLUX_Gamma_Table8: the brightest part of the base keeps its brightness, and darker
 * parts are lifted. A plane whose base has no more than the target contrast is unchanged.
 *
 * Prints "maxBaseLayer = %f, minBaseLayer = %f", without a new line, and "ScaleFactor= %f\n" to the
 * standard output once the base is known; no other function of the library prints.
 *
 * @param radius of the windows of GuideBlock(), 2r × 2r pixels with repeated edges, 1 to 23170; a
 *        fiftieth of the picture's width is a good choice.
 * @param eps regularisation in squared decades of light, above 0; 0.05 is a good choice.
 * @param contrast target ratio of the brightest to the darkest light of the base, above 1.
 *
 * Needs 16 bytes per pixel.
 */
TLUX_API uint32_t BaseDetail(MMemMgr manager, const uint8_t* input, int32_t inputPitch,
                             uint8_t* output, int32_t outputPitch, int32_t width, int32_t height,
                             int32_t radius, float eps, float contrast) TLUX_NOEXCEPT;

/**
 * Shows a plane in false colours, for scores, gains and other maps: the viridis map (S. van der
 * Walt, N. Smith, 2015), from dark violet over green to yellow, interpolated linearly between ten
 * points. Its lightness rises with the sample, apart from the rounding of colours, so it also works
 * in grey and for colour-blind viewers.
 *
 * @param output three interleaved bytes a pixel, B, G, R; may not overlap the input.
 */
TLUX_API uint32_t ColorMap(const uint8_t* input, int32_t inputPitch, uint8_t* output,
                           int32_t outputPitch, int32_t width, int32_t height) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_DETAIL_H */

/**
 * @file fast_guided_filter.h
 * @brief The fast guided filter: an 8-bit image computed at one eighth of the size is carried to
 *        full size along the edges of a full-size guide; and the block statistics it is built from.
 */
#ifndef TLUX_FAST_GUIDED_FILTER_H
#define TLUX_FAST_GUIDED_FILTER_H

#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup fast_guided_filter Fast guided filter
 *
 * K. He, J. Sun: "Guided Image Filtering" (ECCV 2010) and "Fast Guided Filter" (arXiv:1505.00996).
 * In every window of the small image the output is modelled as a linear function of the guide I:
 *
 *     a = cov(I, p) / (var(I) + eps)      b = mean(p) − a · mean(I)
 *
 * a and b are smoothed, interpolated to full size and applied to the full-size guide, q = a·I + b.
 * In flat areas (variance far below eps) the output is the mean of the input p; edges of the guide
 * stay sharp.
 *
 * Windows of radius r are 2r × 2r samples: rows y − r … y + r − 1 and columns x − r … x + r − 1;
 * beyond the edges the nearest sample is repeated. The integer members hold a and b in Q10 (1024 is
 * 1.0; b is 8-bit luma × 1024); every division truncates toward zero, every right shift rounds
 * down. Radii are 1 to 23170; up to 90 all sums fit 32 bits, beyond that they wrap.
 *
 * Unless a function says otherwise: a null plane, a pitch or stride below the width, a negative
 * start row or a radius out of range gives ::TLUX_ERR_INVALID_PARAM; an empty size or band gives
 * ::TLUX_OK; in both cases nothing is written. Outputs must not overlap inputs. Integer strides and
 * those of float planes count elements, pitches count bytes. `memMgr` is a pool or null for the
 * heap; nothing stays allocated.
 * @{
 */

/** A negative variance or a zero denominator occurred. */
#define TLUX_GUIDE_UNSOLVABLE 1u

/**
 * What a worker of FastGuideFilterMT() works on. The maps are packed, lowWidth · lowHeight samples
 * each, and shared; a worker reads and writes only the rows of its band.
 */
typedef struct TLUX_GUIDE_CONTEXT {
  MMemMgr manager;          /**< Pool that only this worker uses; null for the heap. */
  int32_t* rawA;            /**< Slope as computed, Q10. */
  int32_t* rawB;            /**< Offset as computed, Q10. */
  int32_t* smoothA;         /**< Slope, smoothed. */
  int32_t* smoothB;         /**< Offset, smoothed. */
  const uint8_t* input;     /**< p, low resolution. */
  const uint8_t* guide;     /**< I, low resolution. */
  const uint8_t* fullGuide; /**< Guide at full resolution. */
  uint8_t* fullOut;         /**< Output at full resolution. */
  int32_t startRow;         /**< First low-resolution row of the band. */
  int32_t bandRows;         /**< Its rows; those past lowHeight are left out. */
  int32_t lowWidth;         /**< Low-resolution size. */
  int32_t lowHeight;        /**< Low-resolution size. */
  int32_t lowPitch;         /**< Bytes from row to row of input and guide. */
  int32_t fullPitch;        /**< Bytes from row to row of fullGuide and fullOut. */
  int32_t radius;           /**< Window radius, of the coefficients and of their smoothing. */
  int32_t eps;              /**< Regularisation, in squared 8-bit luma. */
} TLUX_GUIDE_CONTEXT;

/**
 * Filters a frame on up to four threads, four bands of (lowH + lowH mod 4) / 4 low-resolution rows.
 *
 * Intended: when lowH mod 4 is 1 the last row belongs to no band, and its eight output rows are not
 * changed; even heights are always covered. Each band is smoothed on its own, and bands are not
 * blended across their seams: the last seven output rows of a band, and the last seven columns of
 * the frame, repeat the last coefficients. Only 8·lowW columns of the output rows in the bands are
 * written.
 *
 * @param memMgr used only by the calling thread; provides one block, of four maps of lowW · lowH ·
 *        4 bytes and four times fullPitch · 40 bytes (more if a very narrow frame needs it).
 * @param input,guide planes of lowW × lowH bytes, @p lowPitch bytes apart: the desired picture and
 *        @p fullGuide at that size.
 * @param fullGuide,fullOut planes of at least 8·lowW × 8·lowH bytes, @p fullPitch bytes apart. They
 *        may be the same plane.
 * @param radius,eps see above; 16 and 20 suit a frame of several megapixels. With eps below 1, a
 *        band whose coefficients have no solution is not changed.
 * @return ::TLUX_OK; ::TLUX_ERR_NO_MEMORY, also for a negative size, with nothing written;
 *         ::TLUX_ERR_THREAD if a thread could not be started; the bands of the earlier ones are
 *         then written.
 */
TLUX_API uint32_t FastGuideFilterMT(MMemMgr memMgr, const uint8_t* input, const uint8_t* guide,
                                    const uint8_t* fullGuide, uint8_t* fullOut, int32_t lowW,
                                    int32_t lowH, int32_t lowPitch, int32_t fullPitch,
                                    int32_t radius, int32_t eps) TLUX_NOEXCEPT;

/**
 * Filters one band on the calling thread: the work of one thread of FastGuideFilterMT(). The
 * arguments are not checked, except that a null context does nothing. If the band's memory cannot
 * be allocated, or its coefficients have no solution, its output is not changed.
 */
TLUX_API void FastGuideFilterSingleThread(const TLUX_GUIDE_CONTEXT* context) TLUX_NOEXCEPT;

/**
 * Coefficients of a band. With N = 4r² and the sums S taken over the window:
 *
 *     mI = S(I) / N    mP = S(p) / N    var = S(I²) / N − mI²    cov = S(I·p) / N − mP·mI
 *     a = cov · 1024 / (var + eps)      b = mP · 1024 − mI · a
 *
 * @param startRow,bandRows the band; rows past @p lowH are left out. Windows reach beyond the band.
 * @param input,guide p and I, @p lowPitch bytes from row to row.
 * @param lowH,lowW size; note the order.
 * @param aOut,bOut packed maps of the whole size; only the band's rows are written.
 * @return ::TLUX_OK; ::TLUX_GUIDE_UNSOLVABLE at the first negative variance or zero denominator,
 *         which cannot happen with eps above 0 and radii up to 90; the samples before it are
 *         written; ::TLUX_ERR_NO_MEMORY.
 */
TLUX_API uint32_t GuideBlockIntMT(MMemMgr memMgr, int32_t startRow, int32_t bandRows,
                                  const uint8_t* input, const uint8_t* guide, int32_t lowH,
                                  int32_t lowW, int32_t lowPitch, int32_t* aOut, int32_t* bOut,
                                  int32_t radius, int32_t eps) TLUX_NOEXCEPT;

/**
 * Coefficients of a whole image in floating point: a = cov / (var + eps), b = mP − a·mI, unscaled.
 * Sums are kept in double precision; a variance that rounding makes negative counts as 0.
 *
 * @param p,I input and guide, @p stride samples from row to row.
 * @param aOut,bOut packed, height × width.
 * @param eps in squared units of @p I.
 * @return ::TLUX_OK; ::TLUX_GUIDE_UNSOLVABLE at the first zero denominator; ::TLUX_ERR_NO_MEMORY.
 */
TLUX_API uint32_t GuideBlock(MMemMgr memMgr, const float* p, const float* I, int32_t height,
                             int32_t width, int32_t stride, float* aOut, float* bOut,
                             int32_t radius, float eps) TLUX_NOEXCEPT;

/**
 * Smooths a band of a map without looking outside the band, so that bands can be smoothed at the
 * same time. The first r and the last r rows take the mean of three neighbours along the row; the
 * rows between them take the mean of the window, with its rows clamped to the band.
 *
 * Intended: in a band shorter than r rows both groups reach over its edges; their rows inside the
 * map are written too.
 *
 * @param startRow,bandRows the band; rows past @p height are left out.
 * @param src map, @p srcRowStride samples from row to row.
 * @param dst packed map of the whole size.
 * @return ::TLUX_OK or ::TLUX_ERR_NO_MEMORY.
 */
TLUX_API uint32_t BlockMeanVarIntMTBorder(MMemMgr memMgr, int32_t startRow, int32_t bandRows,
                                          const int32_t* src, int32_t height, int32_t width,
                                          int32_t srcRowStride, int32_t* dst,
                                          int32_t radius) TLUX_NOEXCEPT;

/** As BlockMeanVarIntMTBorder(), every row of the band being the mean of a window of the whole map.
 */
TLUX_API uint32_t BlockMeanVarIntMT(MMemMgr memMgr, int32_t startRow, int32_t bandRows,
                                    const int32_t* src, int32_t height, int32_t width,
                                    int32_t stride, int32_t* dst, int32_t radius) TLUX_NOEXCEPT;

/**
 * Mean and variance, mean(x²) − mean(x)², of each window of a float plane. Sums are kept in double
 * precision; a variance that rounding makes negative is returned as 0.
 *
 * @param src @p stride samples from row to row.
 * @param meanOut,varOut packed, height × width.
 * @return ::TLUX_OK or ::TLUX_ERR_NO_MEMORY.
 */
TLUX_API uint32_t BlockMeanVar(MMemMgr memMgr, const float* src, int32_t height, int32_t width,
                               int32_t stride, float* meanOut, float* varOut,
                               int32_t radius) TLUX_NOEXCEPT;

/**
 * Produces the full-resolution lines of a map one after the other, interpolated linearly ×8 in both
 * directions; sample 8x + j is j/8 of the way from low sample x to x + 1.
 *
 * Call it for k = 0, 1, 2, … with the same @p lines. Line 0 is then line k.
 * @param k line, counted from the first of the band; below 0 nothing is done.
 * @param fullW 8 × the low-resolution width; below 8 nothing is done.
 * @param lowRow low-resolution row 0 for k = 0 and row (k / 8) + 1 for k mod 8 = 1 (the last row
 *        again at the end of the band); otherwise not read. Null does nothing.
 * @param lines 3·fullW samples: the output line, the lower row interpolated along the row, the
 *        upper one. Null does nothing.
 */
TLUX_API void UPSampleLine8Int(int32_t k, int32_t fullW, const int32_t* lowRow,
                               int32_t* lines) TLUX_NOEXCEPT;

/**
 * Smooths the luma of an image along the edges of a guide, in floating point on the calling thread:
 * the source is reduced by 8 with TLUX_ScaleCropImage(), GuideBlock() takes that small luma for
 * both input and guide, and the coefficients, interpolated bilinearly ×8 with the last row and
 * column repeated, give dst = a · guide + b for each pixel. The sum is a fused multiply-add,
 * truncated and clamped.
 *
 * @param src YCBCR420_YPUV, YCBCR420_YPVU, YCBCR422_YPUV, YCBCR420_P or YCBCR422_P.
 * @param guide image whose plane 0 is luma.
 * @param dst image whose plane 0 is written; its size is the one that is processed, and the other
 *        images are at least that large. If a side is not a multiple of 16, the rightmost columns
 *        or bottom rows are not changed. All three may be the same image.
 * @param radius,eps as for GuideBlock(), in small pixels and squared 8-bit luma.
 * @return ::TLUX_OK, even for an image below 16 pixels; ::TLUX_ERR_INVALID_PARAM for a null record
 *         or plane, an image that is too small or a radius out of range; ::TLUX_ERR_UNSUPPORTED;
 *         ::TLUX_ERR_NO_MEMORY; ::TLUX_GUIDE_UNSOLVABLE. On all but ::TLUX_OK nothing is written.
 */
TLUX_API uint32_t FastGuidedFilter(MMemMgr memMgr, const TLUX_IMAGE* src, const TLUX_IMAGE* guide,
                                   TLUX_IMAGE* dst, int32_t radius, float eps) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_FAST_GUIDED_FILTER_H */

/**
 * @file statistics.h
 * @brief Statistics of log-luminance planes: means, the pyramid that produces a smooth base layer,
 *        log conversion, the contrast-normalised score, despeckling and 8-bit conversion.
 */
#ifndef TLUX_STATISTICS_H
#define TLUX_STATISTICS_H

#include "base.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup statistics Exposure statistics
 *
 * The measuring half of the Retinex score (see AME_GenerateRetinexLogGain()): the log luminance of
 * a frame is split into a smooth base and detail, and the detail is scaled by the local contrast.
 *
 * A plane here is an array of @p height rows of @p width samples, end to end, signed 16-bit unless
 * stated otherwise; log luminance is 1024·ln. Sizes are in samples. Arithmetic is 32-bit and wraps;
 * results are stored as their low 16 bits. Right shifts are arithmetic (they round down), divisions
 * truncate toward zero.
 *
 * Null planes and sizes below 1 are empty planes: nothing is read or written, and a mean is 0.
 * Working in place (output = input) is allowed for every element-wise operation and wherever
 * stated; otherwise planes must not overlap. No state is kept between calls.
 * @{
 */

/** Fraction of its own content that the second smallest level of the pyramid keeps: 0.9. */
extern TLUX_API const double PF_BLEND_START;
/** Factor by which that fraction shrinks from one level to the next finer one: 0.65. */
extern TLUX_API const double PF_BLEND_DIV;
/** Samples by which a row buffer of AME_SmoothDoubleBlend() is longer than a row: 4. */
extern TLUX_API const int32_t SDB_TEMP_ADD_COLS;
/** Exposure limit for hosts that choose between pyramids: 1.0. Not read by the library. */
extern TLUX_API const double PF_EXP_LIMIT;
/** Sensitivity limit (ISO) for the same choice: 400. Not read by the library. */
extern TLUX_API const int32_t PF_ISO_LIMIT;

/**
 * Mean of the row means, with the extremes.
 *
 * Each row's sum (32-bit, wraps) is divided by the width, the sum of these by the height; both
 * divisions truncate. It differs from the mean of all samples by less than 2.
 * @param minimum,maximum receive the extreme samples as 32-bit patterns of signed numbers; for an
 *        empty plane 2000000000 and −2000000000. Null: not computed.
 */
TLUX_API int32_t AME_ImageMean(const int16_t* samples, int32_t width, int32_t height,
                               uint32_t* minimum, uint32_t* maximum) TLUX_NOEXCEPT;

/** Only the mean of AME_ImageMean(). */
TLUX_API int32_t AME_ImageMeanNoMax(const int16_t* samples, int32_t width,
                                    int32_t height) TLUX_NOEXCEPT;

/**
 * Halves two rows into one: output[x] = the mean, rounded down, of the 2×2 samples from column 2x.
 *
 * @param upper,lower rows of at least 2·count samples; may be the same row.
 * @param output row of @p count samples.
 * @param sum receives the sum of the outputs, a signed number as a 32-bit pattern.
 */
TLUX_API void AME_Downscale2x2_lines(const int16_t* upper, const int16_t* lower, int32_t count,
                                     int16_t* output, uint32_t* sum) TLUX_NOEXCEPT;

/**
 * Halves a plane by 2×2 box means.
 *
 * n = sourceWidth / 2 columns come from AME_Downscale2x2_lines(). A destination wider than n gets
 * one more column. Intended: it averages the last source column with the one before it, which
 * column n − 1 has used already, instead of repeating the last. Columns after it are not changed.
 * Rows past the end of the source repeat its last row.
 *
 * @param destination not changed, nor is @p mean, unless it has at least sourceWidth / 2 by
 *        sourceHeight / 2 samples.
 * @param mean receives the mean of what was written, computed from signed row sums; may be null.
 */
TLUX_API void AME_Downscale2x2(const int16_t* source, int32_t sourceWidth, int32_t sourceHeight,
                               int16_t* destination, int32_t destinationWidth,
                               int32_t destinationHeight, double* mean) TLUX_NOEXCEPT;

/**
 * Smooths a small plane, doubles it and blends it with a large one.
 *
 * The small plane is smoothed by (1 2 1) / 4 down and across and enlarged by the interpolation
 * kernel (−1 9 25 −1) / 32, first down, then across; edges repeat. Each output sample is
 * (large · B + enlarged · A) >> 8, where A and B are the weights in Q8, rounded.
 *
 * @param output plane of the large size; may be @p large itself. Columns past 2·smallWidth repeat
 *        the last one computed; rows past 2·smallHeight continue with the last row enlarged.
 * @param scratch 6·(smallWidth + 4) samples.
 * @param enlargedWeight,largeWeight weights of the two planes; 1 is 256 in Q8. Weights that do not
 *        fit 32 bits in Q8 saturate, NaN counts as 0.
 */
TLUX_API void AME_SmoothDoubleBlend(const int16_t* small, int32_t smallWidth, int32_t smallHeight,
                                    const int16_t* large, int16_t* output, int32_t largeWidth,
                                    int32_t largeHeight, int16_t* scratch, double enlargedWeight,
                                    double largeWeight) TLUX_NOEXCEPT;

/**
 * Smooths a plane at all scales: the base layer of a log-luminance plane.
 *
 * The plane is halved (AME_Downscale2x2()) until a side is 1. The smallest level is scaled to the
 * mean of the source; then, from there up, each level is blended with the enlarged result of the
 * coarser one (AME_SmoothDoubleBlend()), keeping a fraction of 0.9·0.65^i of itself at step i,
 * scaled to the mean of the source. The last blend, with the source, produces the output.
 *
 * @param manager pool, or null for the heap; one small record per level, released on return.
 * @param statistics receives mean, minimum and maximum (as AME_ImageMean() gives them) of the
 *        largest halved level that is at most 200 wide, zeros if there is none; null: not computed.
 * @param output plane of outputWidth × outputHeight; may be @p source. The last blend reads the
 *        source as a plane of this size, so it should be the source's; nothing is done if it has
 *        more samples than the source. With a source of one row or column there is no level to
 *        blend with, and the output is not changed.
 * @param scratch,scratchLength working memory in 16-bit samples. It must have room for the halved
 *        levels and, while a level is enlarged, the six row buffers of that step. Half the samples
 *        of the source (at least 1024) are enough unless the plane is narrow and long.
 *
 * If the scratch is too short or a record cannot be allocated, output and statistics are not
 * changed.
 */
TLUX_API void AME_PyramidFilter(MMemMgr manager, uint32_t statistics[3], const int16_t* source,
                                int32_t width, int32_t height, int16_t* output, int32_t outputWidth,
                                int32_t outputHeight, int16_t* scratch,
                                int32_t scratchLength) TLUX_NOEXCEPT;

/**
 * Converts samples through a table: destination = low 16 bits of table[source].
 *
 * @param destination may be @p source.
 * @param table entry v is trunc(1024·ln(v + 30)) for the Retinex score. Samples index it as signed
 *        numbers and are not checked: they must lie inside it.
 * @return mean of the row means of the converted samples.
 */
TLUX_API int32_t AME_LogTable_mageMean(const int16_t* source, int16_t* destination,
                                       const uint32_t* table, int32_t width,
                                       int32_t height) TLUX_NOEXCEPT;

/**
 * Converts local energy to local deviation in place: v becomes table[2·(max(v, 0) + 64)].
 *
 * @param table 32-bit entries trunc(sqrt(1024·k)), k = 0..32831, seen as pairs of 16-bit ones, low
 *        half first. The 64 is a floor: no deviation falls below 256, a quarter in Q10.
 * @return mean of the row means of the deviations.
 */
TLUX_API int32_t AME_LogTable_mageMean2(int16_t* plane, const uint16_t* table, int32_t width,
                                        int32_t height) TLUX_NOEXCEPT;

/** Subtracts @p value from every sample; 16-bit results wrap. */
TLUX_API void AME_Adjust_meanLogLum(int16_t* plane, int32_t value, int32_t width,
                                    int32_t height) TLUX_NOEXCEPT;

/**
 * Score of every pixel: detail relative to the local contrast, minus the log luminance.
 *
 * score = (((((L − B)·contrast) >> 4)·reciprocals[D]) >> 15) − L, which is about
 * (L − B)·contrast / D − L; products wrap in 32 bits.
 *
 * @param logLuma L, log luminance about its anchor.
 * @param base B, its smooth part.
 * @param output scores as 16-bit patterns of signed numbers; may be any of the input planes.
 * @param deviation D, local deviation; indexes @p reciprocals as an unsigned number.
 * @param reciprocals entry D is 524288 / D; the deviations must lie inside the table.
 * @param contrast factor in the unit of D; with the mean deviation the detail keeps its mean size.
 */
TLUX_API void AME_Generate_Score(const int16_t* logLuma, const int16_t* base, uint16_t* output,
                                 const int16_t* deviation, const uint32_t* reciprocals,
                                 int32_t width, int32_t height, int32_t contrast) TLUX_NOEXCEPT;

/**
 * Removes isolated bright pixels from an 8-bit plane, or leaves it unchanged.
 *
 * Pixels at least two away from every border and at least @p level + 40 bright are compared with
 * their eight neighbours. A pixel is replaced by the darkest neighbour if 2 to 6 of them are more
 * than 80 levels darker, or they span more than 100 levels, or they range from at most 191 to at
 * least 250. Intended: all or nothing; if fewer than 2 % of the pixels were replaced, every change
 * is undone and the result is a copy.
 *
 * @param destination plane of the same size; must not overlap the source.
 * @return 0.
 */
TLUX_API int32_t AME_ReduceBlock(const uint8_t* source, uint8_t* destination, int64_t width,
                                 int64_t height, int64_t level) TLUX_NOEXCEPT;

/**
 * Converts 64-bit samples to bytes through a table and adds a border of one repeated pixel.
 *
 * @param destination (width + 2) × (height + 2) bytes; must not overlap the source.
 * @param source width × height indices into @p table, not checked.
 * @return 0.
 */
TLUX_API int32_t AME_ConvertTo8Bit(uint8_t* destination, const int64_t* source, int64_t width,
                                   int64_t height, const uint8_t* table) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_STATISTICS_H */

/**
 * @file selection.h
 * @brief Exposure values: from histograms and ratios to a smoothed map of exposure levels.
 */
#ifndef TLUX_SELECTION_H
#define TLUX_SELECTION_H

#include "base.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup selection Exposure selection
 *
 * Exposure values (EV) are base-2 logarithms of brightness ratios, within -4 to +4. A host chains
 * these functions: AME_CalExposureByMaxvalue() turns the histogram of a cell (or frame) into its
 * EV, AME_CalMinMaxExposure() finds the range of all of them, AME_SelectExposure() quantises each
 * to an 8-bit index, where 127 is the middle EV, and AME_SmoothSelect() smooths the map of indices.
 * Floating-point expressions are evaluated left to right in double precision, without contraction,
 * so the results are the same everywhere.
 *
 * Functions with a result code return ::TLUX_ERR_INVALID_PARAM for a null pointer that they would
 * have to follow, and then write nothing.
 * @{
 */

/** Entry k = log2(1 + k / 255), rounded to six decimals: the EV of a mantissa in [1, 2]. */
extern TLUX_API const double AME_EV_KERNEL[256];

/** Taps of the smoothing of AME_SmoothSelect(), in both directions; their sum is 636. */
extern TLUX_API const int64_t AME_SELECT_KERNEL[5];

/**
 * The EV of a brightness ratio, in steps of 1/255 octave of its mantissa.
 * @param ratio limited to 1/16 … 16; NaN gives 0.
 * @return -4 to +4, negative for a ratio below 1.
 */
TLUX_API double AME_ConvertExposureValue(double ratio) TLUX_NOEXCEPT;

/**
 * The correction that brings the brightest 0.5 % of the pixels to 87.5 % of full scale.
 *
 * @param histogram 4096 counts, of 12-bit levels.
 * @param exposure receives the EV, in steps of 0.05. Intended: a negative EV is truncated toward
 *        zero after half a step is added, so it can end up a whole step closer to zero.
 * @param width,height pixels that were counted; only their product matters.
 * @return ::TLUX_OK.
 */
TLUX_API uint32_t AME_CalExposureByMaxvalue(const uint64_t* histogram, double* exposure,
                                            int64_t width, int64_t height) TLUX_NOEXCEPT;

/**
 * The range of a set of EVs.
 *
 * @param values,count the EVs; with a count below 1 they are not read.
 * @param minimum,maximum receive the range. Intended: the search starts at +4 and -4, so the
 *        minimum never passes 4, the maximum never falls below -4, and an empty set gives exactly
 *        these. NaNs are skipped.
 * @return ::TLUX_OK.
 */
TLUX_API uint32_t AME_CalMinMaxExposure(const double* values, int64_t count, double* minimum,
                                        double* maximum) TLUX_NOEXCEPT;

/**
 * Quantises EVs to indices and lists the EV of every level.
 *
 * With half = levels / 2, an EV above the middle gives 127 + n for the nearest multiple n of the
 * step (maximum - middle) / half, at most levels - 1; one below gives 127 - n for the step
 * (middle - minimum) / half, at least 0. Halves round away from the middle. The arithmetic is 16.16
 * fixed point; values beyond its range saturate.
 *
 * Intended: the middle of the map is 127 for any number of levels, while the middle of the level
 * table is entry half, which is 128 for the usual 256 levels.
 *
 * @param values,count the EVs; with a count below 1 they are not read.
 * @param indices receives one byte for each EV; for an index above 255, its low byte.
 * @param levels even, at least 2; below 2 every step is 0 and every EV gives the middle index,
 *        limited to levels - 1.
 * @param levelTable receives 2 · half + 1 EVs (one, the middle, for levels below 2): entry 0 is the
 *        minimum, entry half the middle, entry 2 · half the maximum. Note that this is one entry
 *        more than there are levels.
 * @param minimum,middle,maximum EVs, in ascending order. A step that is not positive maps all EVs
 *        of its side to the middle index.
 * @return ::TLUX_OK.
 */
TLUX_API uint32_t AME_SelectExposure(const double* values, uint8_t* indices, int64_t count,
                                     int64_t levels, double* levelTable, double minimum,
                                     double middle, double maximum) TLUX_NOEXCEPT;

/**
 * Smooths an index map with the separable 5×5 kernel of ::AME_SELECT_KERNEL, rounding half up. Taps
 * beyond the map are left out and the others get correspondingly more weight, so a uniform map is
 * unchanged up to its border.
 *
 * @param manager pool for about 32 bytes per column, or null for the heap.
 * @param source,destination width × height bytes without gaps between the rows. They may be the
 *        same.
 * @param width,height size of the map; if one is below 1, nothing is done.
 * @return ::TLUX_OK; ::TLUX_ERR_NO_MEMORY if the working memory cannot be allocated; nothing is
 *         written then.
 */
TLUX_API uint32_t AME_SmoothSelect(MMemMgr manager, const uint8_t* source, uint8_t* destination,
                                   int64_t width, int64_t height) TLUX_NOEXCEPT;

/** The same as AME_SmoothSelect(), under a second name. */
TLUX_API uint32_t AME_SmoothMidSelect(MMemMgr manager, const uint8_t* source, uint8_t* destination,
                                      int64_t width, int64_t height) TLUX_NOEXCEPT;

/**
 * Compares two `uint32_t` for `qsort`, ascending.
 *
 * Intended: the result is their difference as a 32-bit number, so the order is right only for
 * values less than 2^31 apart.
 */
TLUX_API int32_t myCompare(const void* first, const void* second) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_SELECTION_H */

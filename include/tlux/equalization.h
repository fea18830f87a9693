/**
 * @file equalization.h
 * @brief Histograms and their equalization, over a whole image or tile by tile.
 */
#ifndef TLUX_EQUALIZATION_H
#define TLUX_EQUALIZATION_H

#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup equalization Histogram equalization
 *
 * A histogram is an array of 256 counts, indexed by the 8-bit sample; an equalization table has the
 * same form and gives every sample its new value, the fraction of samples that are not brighter,
 * times 255. All functions read plane 0 of an image, rows pitch[0] apart, with row addresses
 * computed in 64 bits. They do nothing if an image, array or plane 0 is null.
 * @{
 */

/**
 * Adds the samples of a rectangle to a histogram.
 *
 * @param image image to count in.
 * @param histogram 256 counts. They are not cleared first, so several rectangles or images can be
 *        accumulated; they wrap in 32 bits.
 * @param rect part to count, or null for the whole image. Intended: it is not clipped, so it may
 *        cover any memory around plane 0 that the caller owns. An empty or inverted one adds
 *        nothing.
 */
TLUX_API void CalHistogram(const TLUX_IMAGE* image, uint32_t* histogram,
                           const TLUX_RECT* rect) TLUX_NOEXCEPT;

/**
 * Adds the samples of a rectangle to a histogram and turns it into an equalization table.
 *
 * With n pixels in the rectangle and c the counts up to and including level i, entry i becomes
 * (c / n) · 255.0 in double precision, truncated.
 *
 * @param image image to count in.
 * @param histogram 256 counts, zero for a table of this rectangle only; receives the table.
 * @param rect part to count, or null for the whole image. Its right and bottom edges are clipped to
 *        the image. Intended: its left and top edges are not, as for CalHistogram(); and if n is 0,
 *        an entry becomes 0x7FFFFFFF if its c is above 0, otherwise 0, because the conversion
 *        saturates.
 */
TLUX_API void HistogramMap(const TLUX_IMAGE* image, uint32_t* histogram,
                           const TLUX_RECT* rect) TLUX_NOEXCEPT;

/**
 * Equalizes an image into a working image.
 *
 * Intended: the working image is released on return and the caller's image is not changed, so the
 * call has no visible effect; it exists for hosts that link against it. Use HistogramMap() and
 * TLUX_AdjustImageByTable() to equalize an image.
 *
 * @param manager pool for pitch[0] × height bytes during the call, or null for the heap. The call
 *        ends early if the memory cannot be allocated.
 * @param image image to equalize; its pitch must not be smaller than its width.
 */
TLUX_API void HistogramEqualization(MMemMgr manager, const TLUX_IMAGE* image) TLUX_NOEXCEPT;

/**
 * Equalizes the luma of an NV21 or NV12 frame tile by tile; the chroma follows.
 *
 * Every tile of 16 × 16 pixels (less at the right and bottom edge) has its own equalization table.
 * A sample v of column c and row r of a tile of w × h pixels becomes
 *
 *     (C[v] + (c·R[v] + (w - c)·L[v]) / w + (r·D[v] + (h - r)·U[v]) / h) / 3.0,  truncated,
 *
 * all quotients in double precision: one third is the tile's own table C, one third runs from the
 * left neighbour L to the right one R, and one third from the upper neighbour U to the lower one D.
 * Then every chroma pair is scaled around neutral by the ratio of new to old luma.
 *
 * Intended: neighbours are found only by the running number of the tile. The left neighbour of the
 * first tile of a row is the last tile of the row above, and the right neighbour of the last tile
 * is the first of the row below; the last tile of the second-to-last tile row gets no lower
 * neighbour. A missing neighbour is replaced by the tile itself.
 *
 * @param manager pool for the tables of three tile rows, 768 bytes for each 16 columns, during the
 *        call, or null for the heap.
 * @param source frame to equalize.
 * @param output frame of the same size and luma pitch; receives luma, chroma, and the source's
 *        bytes between the width and the pitch of luma rows. The padding of its chroma is written
 *        in the same places as by TLUX_RunDynamicRangeOptimizationImage(). Its planes may be the
 *        source's own (then the chroma is unchanged, because the old luma is gone), but must not
 *        overlap them in any other way.
 *
 * Nothing is written if the memory cannot be allocated, if a plane 0 or 1 is null, if one of the
 * frames is neither NV21 nor NV12 or has no pixels, if the sizes or the luma pitches differ, or if
 * that pitch is below the width.
 */
TLUX_API void AdaptiveHistogramEqualization(MMemMgr manager, const TLUX_IMAGE* source,
                                            TLUX_IMAGE* output) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_EQUALIZATION_H */

/**
 * @file mark.h
 * @brief The small mark in the lower right corner of every optimized frame.
 */
#ifndef TLUX_MARK_H
#define TLUX_MARK_H

#include "base.h"
#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup mark Output mark
 *
 * Every run ends by blending this mark into its output, so that an optimized frame can be
 * distinguished from an original. It is a small scale of hairlines, at most a quarter opaque, and
 * grows with the frame. To build the library with your own picture, use -DTLUX_MARK=FILE.png.
 * @{
 */

/** Columns of the mark's planes. */
#define TLUX_MARK_WIDTH 102
/** Rows of the mark's planes. */
#define TLUX_MARK_HEIGHT 32

/**
 * @name Planes of the mark
 * #TLUX_MARK_WIDTH × #TLUX_MARK_HEIGHT samples each, rows packed end to end. Constant data.
 * @{
 */
extern TLUX_API const uint8_t gTolMarkDataY[TLUX_MARK_WIDTH * TLUX_MARK_HEIGHT]; /**< Luma. */
extern TLUX_API const uint8_t gTolMarkDataU[TLUX_MARK_WIDTH * TLUX_MARK_HEIGHT]; /**< Cb. */
extern TLUX_API const uint8_t gTolMarkDataV[TLUX_MARK_WIDTH * TLUX_MARK_HEIGHT]; /**< Cr. */
/** Opacity: 0 leaves the frame unchanged, 255 is the mark only. */
extern TLUX_API const uint8_t gTolMarkDataA[TLUX_MARK_WIDTH * TLUX_MARK_HEIGHT];
/** @} */

/**
 * Blends the mark into an image, in place.
 *
 * With S and L the shorter and the longer side of the image, the mark is enlarged (each sample
 * repeated) by k = max((S + 225) / 450, (L + 400) / 800), at least 1 and at most 8. It ends 10·k
 * rows above the bottom edge and 20·k columns before the right one; its first column is even. A
 * sample f under a mark sample m of opacity a becomes ((255 − a)·f + a·m) / 255, truncated; for
 * chroma, m and a are first averaged over the luma pixels that share the chroma sample.
 *
 * Keeps no state: several threads may mark different images at once.
 *
 * @param image 4:2:0 planar or semi-planar (NV12, NV21), 4:2:2 planar, or packed Cb Y0 Cr Y1. Left
 *        untouched: an image of another format, with fewer than 122·k columns or 42·k rows, with a
 *        missing plane or with a pitch shorter than its row, and null.
 * @return always ::TLUX_OK, whether or not the image was marked.
 */
TLUX_API uint32_t TLUX_EmbeddedMark(TLUX_IMAGE* image) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_MARK_H */

/**
 * @file copy.h
 * @brief Copying, cropping and cloning images and rectangles of images.
 */
#ifndef TLUX_COPY_H
#define TLUX_COPY_H

#include "base.h"
#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup copy Copy, crop and clone
 *
 * Moves pixels between images of one format, whatever their pitches. Samples are never converted.
 *
 * Rectangles (::TLUX_RECT) are in luma pixels, right and bottom exclusive. A rectangle is accepted
 * if its left and top are not negative, its right and bottom not before them, and its width and
 * height no larger than the image's. Intended: only the size is compared with the image. A
 * rectangle that starts inside and extends past the right or bottom edge is accepted, and is read
 * or written outside the rows; keep rectangles inside unless you own the memory around them.
 *
 * Chroma of subsampled planes is copied at the halved corner and of half the size, both rounded
 * down: rectangles with even corners and sizes cover whole chroma samples.
 *
 * All functions test their arguments before they write the first pixel. Source and target must not
 * overlap, unless they are the same pixels.
 * @{
 */

/**
 * Copies a rectangle of an image onto one of the same size in another image.
 *
 * Formats: all except raw frames. Intended, and guaranteed to stay so:
 * - BGR32 and BGR32_B: the last quarter of each row of the rectangle is not copied.
 * - YCBCR420_P and YCBCR420_P_B, source rectangle on an odd row: Cb is read half a pitch further
 *   along than Cr. For an image of odd height that can be past the end of the Cb plane. Use
 *   TLUX_CopyImageROIOddRect_IMK() for odd corners.
 * - An unknown planar (0x6xx) or semi-planar (0x8xx) code: the luma plane is copied, then
 *   ::TLUX_ERR_UNSUPPORTED returned.
 *
 * @param target image to write into.
 * @param targetRect where to write; null for the whole image.
 * @param source image to read, of the target's format.
 * @param sourceRect where to read; null for the whole image.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null image, a required plane that is null,
 *         different formats, a rectangle that is not accepted or rectangles of different size
 *         (nothing is written); ::TLUX_ERR_UNSUPPORTED for a format that cannot be copied.
 */
TLUX_API uint32_t TLUX_CopyImageROI_IMK(TLUX_IMAGE* target, const TLUX_RECT* targetRect,
                                        const TLUX_IMAGE* source,
                                        const TLUX_RECT* sourceRect) TLUX_NOEXCEPT;

/** Copies a whole image: TLUX_CopyImageROI_IMK() with both rectangles null. */
TLUX_API uint32_t TLUX_CopyImage_IMK(TLUX_IMAGE* target, const TLUX_IMAGE* source) TLUX_NOEXCEPT;

/**
 * Copies a rectangle that may start on odd coordinates, keeping Cb and Cr apart.
 *
 * Luma, gray and the 3- and 4-byte formats are copied as by TLUX_CopyImageROI_IMK(). It differs for
 * the chroma of subsampled formats:
 * - Subsampled rows, and columns of planar formats: an odd corner of the target is raised to the
 *   next chroma sample, which makes the copied chroma one luma pixel shorter. Intended: the source
 *   keeps its corner, halved.
 * - Interleaved and packed chroma: if only one of the two left edges is odd, the chroma bytes are
 *   paired anew, so that each lands on a byte of its own component. For an odd width the last one
 *   comes from the next pair of the source, which may be its padding; if that is past the end of
 *   the plane (pitch × rows bytes), from the pair before.
 *
 * The packed formats YCBYCR_5 to YCBYCR_8, whose byte order is not known, are not copied:
 * ::TLUX_ERR_UNSUPPORTED. Arguments and other results as for TLUX_CopyImageROI_IMK(); source and
 * target must not overlap at all.
 */
TLUX_API uint32_t TLUX_CopyImageROIOddRect_IMK(TLUX_IMAGE* target, const TLUX_RECT* targetRect,
                                               const TLUX_IMAGE* source,
                                               const TLUX_RECT* sourceRect) TLUX_NOEXCEPT;

/**
 * Crops an image in place: the rectangle is moved to the start of each plane, and the record gets
 * its size and the pitches of a new image of that size. The planes stay where they are, so a
 * created image is released as before.
 *
 * Intended: rows are moved from the top down. If the new pitch is larger than the current one (a
 * record over external memory with unaligned rows), a row may overwrite the next before it is read.
 *
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null argument or plane, a rectangle that is not
 *         accepted, or a plane that would not fit into its current memory; ::TLUX_ERR_UNSUPPORTED
 *         for raw frames and unknown formats. Nothing is changed on failure.
 */
TLUX_API uint32_t TLUX_CropImage_IMK(TLUX_IMAGE* image, const TLUX_RECT* rect) TLUX_NOEXCEPT;

/**
 * Creates a copy of an image.
 *
 * @param out receives the copy, to be released with TLUX_FreeImage_IMK(). Bytes that the copy skips
 *        are 0; row padding is undefined.
 * @param manager pool, or null for the heap.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null argument (@p out is not changed);
 *         ::TLUX_ERR_NO_MEMORY, and ::TLUX_ERR_UNSUPPORTED for an unknown format, with *out null.
 *         Intended: if the image can be created but not copied (raw frames, a null plane), the
 *         result is that of the copy, and the caller must release the new image in *out.
 */
TLUX_API uint32_t TLUX_CloneImage_IMK(TLUX_IMAGE** out, const TLUX_IMAGE* source,
                                      MMemMgr manager) TLUX_NOEXCEPT;

/**
 * Creates an image of the size of a rectangle and copies the rectangle into it. Only the copy
 * checks the rectangle; one of negative size gives ::TLUX_ERR_NO_MEMORY. Otherwise as
 * TLUX_CloneImage_IMK().
 */
TLUX_API uint32_t TLUX_CloneImageROI_IMK(TLUX_IMAGE** out, const TLUX_IMAGE* source,
                                         const TLUX_RECT* rect, MMemMgr manager) TLUX_NOEXCEPT;

/**
 * Whether two images have the same width, height and format. Pixels are not compared.
 * @return 1 or 0; 0 if an image is null.
 */
TLUX_API int32_t TLUX_IsImageEqual_IMK(const TLUX_IMAGE* a, const TLUX_IMAGE* b) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_COPY_H */

/**
 * @file resize.h
 * @brief Resizing images and planes by any ratio: nearest, bilinear and bicubic.
 */
#ifndef TLUX_RESIZE_H
#define TLUX_RESIZE_H

#include "base.h"
#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup resize Resizers
 *
 * Resize images and planes of 8-bit samples to any size. Output sample i of an axis is at
 *
 *     x(i) = (i + 1/2) · input size / output size − 1/2
 *
 * (half-pixel alignment), so the centres of the pictures coincide and a picture does not shift when
 * its size changes; the edge samples are repeated outward. Arithmetic is fixed point, the same on
 * every machine. Equal sizes give an exact copy, flat planes stay flat. Nothing is allocated.
 *
 * Interpolation uses only the nearest input samples. To reduce by more than two, use the resampler
 * (or blur first) if aliasing matters.
 *
 * Images are resized component by component, so chroma is interpolated between the chroma samples,
 * on their own grid, as if each were the mean of its block:
 * - planar and gray formats plane by plane;
 * - interleaved chroma (YCBCR420_YPUV, _YPVU, YCBCR422_YPUV) pair by pair;
 * - BGR24, BGR32 and PACKED24 formats byte by byte of the pixel, including the fourth one;
 * - packed 4:2:2 (YCBYCR, YCBYCR_2, CBYCRY, YCBYCR_4): luma, and the chroma of each pixel pair. In
 *   a target of odd width the chroma byte after the last pair repeats its component; that of a
 *   source is read only for a copy of equal size.
 *
 * A source that is too small to have a chroma sample (one column or row of a subsampled format)
 * gives neutral chroma, 128.
 *
 * For images, source and target have the same format code, at least one pixel, any pitch that fits
 * a row, and must not overlap; bytes between the rows are not touched. A plane that has no samples
 * at this format and size may be null. The result is ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null
 * image, different formats, an empty size, a required plane that is null or a pitch shorter than
 * its row; ::TLUX_ERR_UNSUPPORTED for raw frames, the packed formats YCBYCR_5 to YCBYCR_8, whose
 * byte order is not known, and unknown codes. Nothing is written on failure.
 *
 * For planes, `source` and `target` point to the first bytes, and must not overlap; widths and
 * heights are at least 1; a stride is the distance in bytes from one row to the next, at least the
 * width, and bytes past the width are not touched. The result is ::TLUX_OK, or
 * ::TLUX_ERR_INVALID_PARAM for a null pointer, an empty size or a stride below the width (nothing
 * is written).
 * @{
 */

/**
 * Resizes an image by taking, for each output sample, the input sample whose area contains its
 * centre: number floor((i + 1/2) · input / output).
 *
 * @param source image to read.
 * @param target image to write, in the source's format, with the requested size.
 * @return see above.
 */
TLUX_API uint32_t asfImageResize_NN(const TLUX_IMAGE* source, TLUX_IMAGE* target) TLUX_NOEXCEPT;

/**
 * Resizes an image bilinearly. Weights have 16 bits; each axis is within 1/64 of a level, and the
 * result is rounded.
 *
 * @param source,target as in asfImageResize_NN().
 * @return see above.
 */
TLUX_API uint32_t asfImageResize_BL(const TLUX_IMAGE* source, TLUX_IMAGE* target) TLUX_NOEXCEPT;

/**
 * Produces some of the rows of asfImageResize_BL(), to the byte, so that a host can spread one
 * resize over its own threads: pieces whose rows tile the target produce the whole target, and
 * pieces with different rows may run at the same time. A border may be at any row: a chroma row
 * belongs to the piece that has the first of its luma rows.
 *
 * @param source,target the whole images.
 * @param firstRow,endRow luma rows of the target, endRow exclusive: 0 <= firstRow <= endRow <=
 *        target height, otherwise ::TLUX_ERR_INVALID_PARAM.
 * @return see above.
 */
TLUX_API uint32_t asfImageResize_BL_Piece(const TLUX_IMAGE* source, TLUX_IMAGE* target,
                                          int32_t firstRow, int32_t endRow) TLUX_NOEXCEPT;

/**
 * Resizes one plane bilinearly, with the arithmetic of asfImageResize_BL().
 *
 * @return see above.
 */
TLUX_API uint32_t asfImageResize_BL_C1(const uint8_t* source, int32_t sourceWidth,
                                       int32_t sourceHeight, int32_t sourceStride, uint8_t* target,
                                       int32_t targetWidth, int32_t targetHeight,
                                       int32_t targetStride) TLUX_NOEXCEPT;

/** Positions between two samples that a bicubic table distinguishes. */
#define TLUX_CUBIC_PHASES 1024
/** Entries of a bicubic table: four weights a position. */
#define TLUX_CUBIC_TABLE_SIZE 4096
/** Parameter of Keys' kernel, in 1/256: −0.75, the sharper of the two in common use. */
#define TLUX_CUBIC_SHARP (-192)
/** −0.5, with which the interpolation is exact for quadratic functions (Catmull-Rom). */
#define TLUX_CUBIC_SMOOTH (-128)

/**
 * Computes the weights of bicubic interpolation with the kernel of R. Keys (Cubic Convolution
 * Interpolation for Digital Image Processing, IEEE TASSP 29(6), 1981):
 *
 *     k(d) = (a + 2)·|d|³ − (a + 3)·|d|² + 1       |d| ≤ 1
 *            a·|d|³ − 5a·|d|² + 8a·|d| − 4a        1 < |d| < 2
 *
 * Entries 4p to 4p + 3 are the weights of the taps at −1, 0, 1 and 2 for a position p / 1024 of the
 * way from tap 0 to tap 1: k(1 + t), k(t), k(1 − t), k(2 − t), Q14, rounded to nearest, the nearer
 * of the two middle ones such that the sum is exactly 16384.
 *
 * @param table receives ::TLUX_CUBIC_TABLE_SIZE weights.
 * @param a the kernel's parameter in 1/256, −256 to 0: ::TLUX_CUBIC_SHARP, ::TLUX_CUBIC_SMOOTH or
 *        another; at 0 there is no overshoot.
 * @return ::TLUX_OK; ::TLUX_ERR_INVALID_PARAM for a null table or @p a outside its range.
 */
TLUX_API uint32_t InitCubicCoeffTab(int16_t* table, int32_t a) TLUX_NOEXCEPT;

/**
 * Resizes one plane with 4 × 4 weights around each position, which is rounded to 1/1024 of a
 * sample. Rows are interpolated along x first and kept with 6 fraction bits; the result is rounded
 * and clamped to 0..255.
 *
 * @param table ::TLUX_CUBIC_TABLE_SIZE weights of InitCubicCoeffTab(). Other weights are used as
 *        given; sums that exceed 32 bits, and rows that exceed 16, wrap.
 * @return see above.
 */
TLUX_API uint32_t Resize_Bicubic_8u_C1(const uint8_t* source, int32_t sourceWidth,
                                       int32_t sourceHeight, int32_t sourceStride, uint8_t* target,
                                       int32_t targetWidth, int32_t targetHeight,
                                       int32_t targetStride, const int16_t* table) TLUX_NOEXCEPT;

/**
 * Resize_Bicubic_8u_C1() with the library's own table, a = −0.75 (::TLUX_CUBIC_SHARP).
 *
 * @return see above.
 */
TLUX_API uint32_t ImageResize_Cubic_C1(const uint8_t* source, int32_t sourceWidth,
                                       int32_t sourceHeight, int32_t sourceStride, uint8_t* target,
                                       int32_t targetWidth, int32_t targetHeight,
                                       int32_t targetStride) TLUX_NOEXCEPT;

/** @} */

TLUX_END_DECLS

#endif /* TLUX_RESIZE_H */

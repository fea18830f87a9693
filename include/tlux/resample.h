/**
 * @file resample.h
 * @brief Cropping a rectangle of a frame and reducing it by a whole factor into planes with
 *        full-resolution chroma, and related conversions.
 */
#ifndef TLUX_RESAMPLE_H
#define TLUX_RESAMPLE_H

#include "image.h"

TLUX_BEGIN_DECLS

/**
 * @defgroup resample Scale and crop
 *
 * A reduction by N covers the rectangle with N×N blocks, one output pixel each. It is not a full
 * box average: an output sample is the truncated mean of a fixed sub-grid of its block, at most
 * 3×3 samples, which is enough for a reference frame and reads a fraction of the source. Offsets
 * within the block, for rows and columns alike:
 *
 * | N    | Offsets   | Mean                      |
 * |------|-----------|---------------------------|
 * | 2    | 0, 1      | sum >> 2                  |
 * | 3, 4 | 0, 2      | sum >> 2                  |
 * | 5, 6 | 0, 2, 4   | (sum · 116508) >> 20      |
 * | 7, 8 | 0, 3, 6   | (sum · 116508) >> 20      |
 *
 * Intended: 116508 is 2^20 / 9 rounded down, so nine equal samples v come out as v − 1 (255 gives
 * 254). Everything computed from a reference frame relies on these values.
 *
 * Chroma is the mean over the same offsets taken at half the luma position, (left + N·i + dx) / 2,
 * and in 4:2:0 layouts (top + N·j + dy) / 2. For N = 2 that is one chroma column, so 4:2:0 chroma
 * is copied and 4:2:2 chroma is the mean of its two rows. Positions past the last chroma row or
 * column of an odd-sized image use the last one. The destination's plane 1 receives Cb and its
 * plane 2 Cr, with one exception. Intended: NV12 reduced by 8 is processed as NV21, so plane 1
 * contains Cr and plane 2 Cb; its consumers treat both layouts alike.
 *
 * N = 1 copies luma and widens chroma: of the two pixels of pair c, plane 1 receives Cb[c] and
 * (Cb[c] + Cb[c − 1]) >> 1, plane 2 (Cr[c] + Cr[c − 1]) >> 1 and Cr[c]. Intended: the pair left of
 * the rectangle is read even if the rectangle starts at column 0. The byte pair (planar: the byte)
 * just before each chroma row that is used must therefore be readable; for the first row it is just
 * before the plane. Packed layouts repeat the first pair instead and read nothing there.
 *
 * Packed 4:2:2 is read in groups Y0 Cb Y1 Cr; group k of a row starts at byte 2·left + 4·k, even
 * for an odd left. N = 3 differs there: an output is (2·A + B) / 3, truncated, of the truncated
 * mean A of rows 0 and 1 and the truncated mean B of row 2.
 *
 * Nothing is allocated. The rectangle must lie inside the source, and the destination must be large
 * enough for the output; neither is checked. Rows and planes of the source are read only inside the
 * rectangle (N = 1 as described). Source and destination must not overlap.
 * @{
 */

/**
 * A rectangle in source pixels whose sides are all inclusive: right and bottom are the last column
 * and row. (TLUX_RECT, which the copy functions take, excludes them.)
 */
typedef struct TLUX_CROP_RECT {
  int32_t left;
  int32_t top;
  int32_t right;
  int32_t bottom;
} TLUX_CROP_RECT;

/**
 * Reduces a rectangle of an image by a whole factor.
 *
 * Width and height of the rectangle are first rounded down to multiples of 2·factor, keeping its
 * top left corner. If a side is shorter than that, nothing is written.
 *
 * @param source YCBCR420_YPUV, YCBCR420_YPVU, YCBCR422_YPUV, YCBCR420_P, YCBCR422_P, YCBYCR or
 *        BAYER. Intended: BAYER is read as YCBYCR except for a factor of 8, see
 *        TLUX_ResampleImage8_BAYER().
 * @param destination three planes, as ::TLUX_FMT_YCBCR444_P has, of (rounded width / factor) ×
 *        (rounded height / factor) samples. Format and height are ignored. Intended: after a row of
 *        n outputs each plane advances by n + pitch − width, so a width other than n shears the
 *        rows.
 * @param crop rectangle, or null for the whole source; not modified.
 * @param factor 1 to 8.
 * @return ::TLUX_ERR_INVALID_PARAM for a factor below 1, a null image or a required plane that is
 *         null; otherwise ::TLUX_OK. Intended: a factor above 8 and a source format not listed
 *         above also give ::TLUX_OK, and nothing is written.
 */
TLUX_API uint32_t TLUX_ScaleCropImage(const TLUX_IMAGE* source, TLUX_IMAGE* destination,
                                      const TLUX_CROP_RECT* crop, int32_t factor) TLUX_NOEXCEPT;

#define TLUX_RESAMPLE_BY_1_TO_8(MEMBER, PREFIX, LAYOUT) \
  MEMBER(PREFIX##1_##LAYOUT, LAYOUT, 1)                 \
  MEMBER(PREFIX##2_##LAYOUT, LAYOUT, 2)                 \
  MEMBER(PREFIX##3_##LAYOUT, LAYOUT, 3)                 \
  MEMBER(PREFIX##4_##LAYOUT, LAYOUT, 4)                 \
  MEMBER(PREFIX##5_##LAYOUT, LAYOUT, 5)                 \
  MEMBER(PREFIX##6_##LAYOUT, LAYOUT, 6)                 \
  MEMBER(PREFIX##7_##LAYOUT, LAYOUT, 7)                 \
  MEMBER(PREFIX##8_##LAYOUT, LAYOUT, 8)

#define TLUX_RESAMPLE_BY_9_TO_14(MEMBER, LAYOUT) \
  MEMBER(ResampleImage9_##LAYOUT, LAYOUT, 9)     \
  MEMBER(ResampleImage10_##LAYOUT, LAYOUT, 10)   \
  MEMBER(ResampleImage11_##LAYOUT, LAYOUT, 11)   \
  MEMBER(ResampleImage12_##LAYOUT, LAYOUT, 12)   \
  MEMBER(ResampleImage13_##LAYOUT, LAYOUT, 13)   \
  MEMBER(ResampleImage14_##LAYOUT, LAYOUT, 14)

/**
 * The members that TLUX_ScaleCropImage() chooses from: MEMBER(function, layout, N) for each, where
 * TLUX_FMT_<layout> is the source format.
 */
#define TLUX_RESAMPLE_DISPATCHED_MEMBERS(MEMBER)                     \
  TLUX_RESAMPLE_BY_1_TO_8(MEMBER, TLUX_ResampleImage, YCBCR420_YPUV) \
  TLUX_RESAMPLE_BY_1_TO_8(MEMBER, TLUX_ResampleImage, YCBCR420_YPVU) \
  TLUX_RESAMPLE_BY_1_TO_8(MEMBER, ResampleImage, YCBCR422_YPUV)      \
  TLUX_RESAMPLE_BY_1_TO_8(MEMBER, TLUX_ResampleImage, BAYER)         \
  TLUX_RESAMPLE_BY_1_TO_8(MEMBER, TLUX_ResampleImage, YCBCR420_P)    \
  TLUX_RESAMPLE_BY_1_TO_8(MEMBER, TLUX_ResampleImage, YCBCR422_P)    \
  TLUX_RESAMPLE_BY_1_TO_8(MEMBER, TLUX_ResampleImage, YCBYCR)

/**
 * Members that are only called by name. With s = (N − 1) / 2 and t = (N − 1) / 3 their rows are 0,
 * s, 2s; N = 9 and 10 take the same columns and the mean of nine, N = 11 to 14 columns 0, t, 2t, 3t
 * and the mean of twelve, (sum · 87381) >> 20, which also loses one level on uniform areas.
 */
#define TLUX_RESAMPLE_FURTHER_MEMBERS(MEMBER)            \
  TLUX_RESAMPLE_BY_9_TO_14(MEMBER, BAYER)                \
  TLUX_RESAMPLE_BY_9_TO_14(MEMBER, YCBYCR)               \
  TLUX_RESAMPLE_BY_9_TO_14(MEMBER, YCBCR420_P)           \
  MEMBER(ResampleImage9_YCBCR420_YPVU, YCBCR420_YPVU, 9) \
  MEMBER(ResampleImage10_YCBCR420_YPVU, YCBCR420_YPVU, 10)

/**
 * @fn TLUX_ResampleImage8_BAYER
 * The one member that reads raw frames as 16-bit samples, in the byte order of the machine.
 * ::gi32PixelArrangement gives the colours of the 2×2 cells, anchored at pixel (0, 0): its low byte
 * has two bits per site in reading order, low bits first, where 0 is red, 1 green and 2 blue. The
 * known values are 0x49494949, 0x61616161 and 0x94949494; any other value counts as 0x16161616.
 * Planes 0, 1 and 2 receive green, blue and red: of the 2×2 cells {0, 1, 3} × {0, 1, 3} of a block
 * the mean of the nine samples of that colour (of the two greens the one in the pattern's first
 * row), upper byte.
 */

/**
 * Every member reduces the rectangle of one source layout by one factor, as TLUX_ScaleCropImage()
 * does: (source, destination, crop) → nothing. The source's format code is ignored. Only whole
 * blocks are written, floor(width / N) × floor(height / N) outputs (N = 1: whole pairs of pixels
 * and rows). Nothing is written for a null argument, a required plane that is null or an empty
 * rectangle.
 */
#define TLUX_RESAMPLE_DECLARE(FUNCTION, LAYOUT, N)                          \
  TLUX_API void FUNCTION(const TLUX_IMAGE* source, TLUX_IMAGE* destination, \
                         const TLUX_CROP_RECT* crop) TLUX_NOEXCEPT;
TLUX_RESAMPLE_DISPATCHED_MEMBERS(TLUX_RESAMPLE_DECLARE)
TLUX_RESAMPLE_FURTHER_MEMBERS(TLUX_RESAMPLE_DECLARE)
#undef TLUX_RESAMPLE_DECLARE

/**
 * Reduces planar 4:2:0 by 4/3: a 4×4 block gives 3×3 outputs, output (j, i) being the truncated
 * mean of the four samples at rows j, j + 1 and columns i, i + 1; chroma at half these positions.
 * Otherwise like the members above.
 */
TLUX_API void ResampleImage_4_3_YCBCR420_P(const TLUX_IMAGE* source, TLUX_IMAGE* destination,
                                           const TLUX_CROP_RECT* crop) TLUX_NOEXCEPT;

/** @} */

/**
 * @defgroup bgr Packed B, G, R to planes
 *
 * Full-range BT.601 in 14-bit fixed point: Y = (4899·R + 9617·G + 1868·B + 8192) >> 14,
 * Cb = clamp(128 + (((B − Y)·9241 + 8192) >> 14)), Cr = clamp(128 + (((R − Y)·11682 + 8192) >>
 * 14)). Rows of the source are align4(3·width) bytes apart. The destination contains Y, Cb and Cr
 * planes back to back; with w and h their size in samples, rows are align4(w) bytes apart and
 * planes align4(w)·h. Nothing is written for a null pointer or a size below 1.
 * @{
 */

/**
 * Converts without reduction. Intended: only rows 0, 2, 4, … are converted, each in its place, and
 * an odd last column is skipped; all other bytes of the destination are unchanged.
 */
TLUX_API void BGRToYCbCr444(const uint8_t* source, int32_t width, int32_t height,
                            uint8_t* destination) TLUX_NOEXCEPT;

/**
 * Reduces by 4 and converts: each channel is the truncated mean of rows {0, 2} × columns {0, 2} of
 * a 4×4 block. @p width and @p height are the source's; the planes are width / 4 by height / 4,
 * and all their samples are written.
 */
TLUX_API void ResampleImage4_BGRToYCbCr444(const uint8_t* source, int32_t width, int32_t height,
                                           uint8_t* destination) TLUX_NOEXCEPT;

/** As above, by 8: the truncated mean of rows {0, 4} × columns {0, 2, 4, 6} of an 8×8 block. */
TLUX_API void ResampleImage8_BGRToYCbCr444(const uint8_t* source, int32_t width, int32_t height,
                                           uint8_t* destination) TLUX_NOEXCEPT;

/** @} */

/**
 * Writes one line of one 4:2:2 chroma component displaced by a slowly growing offset, by nearest
 * sampling at 1/16 pixel.
 *
 * For x = firstX, firstX + 2, … below endX one byte is written: source[sx / 2 + pitch·sy] with
 * sx = (16·x − (accumulatorX >> shift)) >> 4 and sy = (16·y − (accumulatorY >> shift)) >> 4.
 * Negative values become 0; at or above size − 1 they become size − 2, or 0 if that is negative.
 * Then both accumulators grow by twice their step, wrapping in 32 bits.
 *
 * @param width,height of the source in luma pixels.
 * @param accumulatorX,accumulatorY displacement at the first sample, in 1/16 pixel after @p shift.
 * @param stepX,stepY growth of the displacement per luma pixel.
 * @param y row of the line in the source's coordinates.
 * @param pitch bytes from one row of @p source to the next.
 * @param source chroma plane; null writes nothing.
 * @param destination receives (endX − firstX + 1) / 2 bytes; null writes nothing.
 * @param shift 0 to 31; other values write nothing.
 */
TLUX_API void AMF_BlendingImage422_P_UV_Line_256_x(int32_t width, int32_t height,
                                                   int32_t accumulatorX, int32_t accumulatorY,
                                                   int32_t stepX, int32_t stepY, int32_t firstX,
                                                   int32_t y, int32_t endX, int32_t pitch,
                                                   const uint8_t* source, uint8_t* destination,
                                                   int32_t shift) TLUX_NOEXCEPT;

TLUX_END_DECLS

#endif /* TLUX_RESAMPLE_H */
